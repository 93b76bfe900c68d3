#pragma once

#include "helper/PrivilegedHelperMessages.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

namespace tavo {

/// Takes the outcome of one call. The connection writes it from any thread, also long after the caller has given up:
/// whoever may still write keeps the slot alive. When several outcomes arrive before the caller reads, the last one
/// counts.
class PrivilegedHelperReplySlot {
public:
    /// A reply has come.
    void receive(PrivilegedHelperReply reply) noexcept;

    /// The connection failed. The caller gets `error` unchanged.
    void fail(std::exception_ptr error) noexcept;

    /// Waits for an outcome, `bound` at most; nothing when none has come. @throws the error that has come.
    std::optional<PrivilegedHelperReply> wait(std::chrono::milliseconds bound) const;

private:
    using Outcome = std::variant<std::monostate, PrivilegedHelperReply, std::exception_ptr>;

    void signal(Outcome arrived) noexcept;

    mutable std::mutex mutex;
    mutable std::condition_variable signalled;
    Outcome outcome;
};

/// One connection to the helper, for one command, that answers from a thread of the system's.
struct PrivilegedHelperConnection {
    virtual ~PrivilegedHelperConnection() = default;

    /// Sends an encoded command. The outcome goes into the slot, now or later and from any thread.
    /// Gives false when the other end takes no commands. @throws the connection's own error.
    virtual bool send(const std::string& body, std::shared_ptr<PrivilegedHelperReplySlot> slot) = 0;

    /// Closes the connection. Nothing is sent after that; an outcome that is on its way may still reach the slot.
    virtual void invalidate() noexcept = 0;
};

/// Sends one command over a connection, waits for its reply, `bound` at most, and closes the connection whatever
/// happens.
/// @throws PrivilegedHelperClientError, and the connection's own error.
PrivilegedHelperReply exchange(PrivilegedHelperConnection& connection, const std::string& body,
                               std::chrono::milliseconds bound);

} // namespace tavo
