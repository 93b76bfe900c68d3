#pragma once

#include "helper/PrivilegedHelperClient.h"
#include "helper/PrivilegedHelperMessages.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>

namespace tavo {

/// Where the outcome of one call arrives. The transport writes it from any thread, also long after the caller has given up:
/// whoever may still write holds the slot alive. When several outcomes arrive before the caller looks, the last one stands.
class PrivilegedHelperReplySlot {
public:
    /// A reply has come. Its message, where there is one, counts before its data; a reply with neither is invalid.
    void receive(const PrivilegedHelperReply& reply) noexcept;

    /// The connection failed. The caller gets `error` as it is.
    void fail(std::exception_ptr error) noexcept;

    /// Nothing will come any more. What has come before stands.
    void end() noexcept;

    bool isSignalled() const;

    /// Waits until any of the above has been called, `bound` at most. Gives false when none has.
    bool waitForSignal(std::chrono::milliseconds bound) const;

    /// The response that has come. @throws the error that has come, and PrivilegedHelperClientError::invalidResponse()
    /// when nothing has.
    PrivilegedHelperResponse result() const;

private:
    using Outcome = std::variant<std::monostate, PrivilegedHelperResponse, std::exception_ptr>;

    void signal(Outcome outcome) noexcept;

    mutable std::mutex mutex;
    mutable std::condition_variable signalled;
    Outcome outcome;
    bool hasSignal = false;
};

/// One connection to the helper, for one command.
struct PrivilegedHelperConnection {
    virtual ~PrivilegedHelperConnection() = default;

    /// Sends an encoded command. What comes of it goes into the slot, now or later and from any thread.
    /// Gives false when the other end is nothing that commands can be sent to. @throws the connection's own error.
    virtual bool send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) = 0;

    /// Gives the connection up. Nothing is sent after that; what is on its way may still reach the slot.
    virtual void invalidate() noexcept = 0;
};

/// Carries commands to the helper: XPC on one system, a socket on the other.
struct PrivilegedHelperTransport {
    virtual ~PrivilegedHelperTransport() = default;

    /// Opens a connection. @throws the connection's own error when nobody listens.
    virtual std::unique_ptr<PrivilegedHelperConnection> connect() = 0;
};

/// How a call waits for its slot: on the slot itself, or on what the transport reads from.
struct PrivilegedHelperReplyWaiting {
    virtual ~PrivilegedHelperReplyWaiting() = default;

    /// Blocks until the slot is signalled, `bound` at most. Gives false when it is not.
    virtual bool waitForSignal(const PrivilegedHelperReplySlot& slot, std::chrono::milliseconds bound) = 0;
};

/// Waits on the slot. For transports that write it from another thread.
class BlockingReplyWaiting final : public PrivilegedHelperReplyWaiting {
public:
    bool waitForSignal(const PrivilegedHelperReplySlot& slot, std::chrono::milliseconds bound) override {
        return slot.waitForSignal(bound);
    }
};

/// The client over any transport: decides what becomes of a reply, whichever way it came or did not come.
class PrivilegedHelperExchange final : public PrivilegedHelperClient {
public:
    static constexpr std::chrono::milliseconds replyBound{5000};

    explicit PrivilegedHelperExchange(
        std::shared_ptr<PrivilegedHelperTransport> transport,
        std::shared_ptr<PrivilegedHelperReplyWaiting> waiting = std::make_shared<BlockingReplyWaiting>());

    /// Each call opens a connection of its own and gives it up before it returns or throws.
    PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) override;

private:
    std::shared_ptr<PrivilegedHelperTransport> transport;
    std::shared_ptr<PrivilegedHelperReplyWaiting> waiting;
};

} // namespace tavo
