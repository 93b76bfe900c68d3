#pragma once

#include "base/DescribedError.h"
#include "helper/PrivilegedHelperMessages.h"

#include <chrono>
#include <string>

namespace tavo {

/// The helper could not be asked, or its answer could not be used.
class PrivilegedHelperClientError final : public DescribedError {
public:
    enum class Kind { transportError, invalidResponse, timeout };

    /// @param message  shown as it is.
    static PrivilegedHelperClientError transportError(const std::string& message) {
        return {Kind::transportError, message};
    }
    static PrivilegedHelperClientError invalidResponse() {
        return {Kind::invalidResponse, "the privileged helper returned an invalid response."};
    }
    static PrivilegedHelperClientError timeout() {
        return {Kind::timeout, "timed out waiting for the privileged helper."};
    }

    /// The connection has no other end that takes commands.
    static PrivilegedHelperClientError noProxy() {
        return transportError("failed to create a proxy for the privileged helper.");
    }

    Kind kind() const { return errorKind; }

    bool operator==(const PrivilegedHelperClientError& other) const {
        return errorKind == other.errorKind && description() == other.description();
    }

private:
    PrivilegedHelperClientError(Kind kind, const std::string& description)
        : DescribedError(description), errorKind(kind) {}

    Kind errorKind;
};

/// Asks the helper. Keeps no connection between calls.
struct PrivilegedHelperClient {
    virtual ~PrivilegedHelperClient() = default;

    /// Sends one command and waits for the one reply, 5 seconds at most. A response `error` is returned, not thrown.
    /// @throws PrivilegedHelperClientError, DecodingError for a reply that is no response, and the connection's own
    ///         error when nobody listens.
    virtual PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) = 0;
};

/// The client over a transport: XPC on one system, a socket on the other. It decides what a reply means, whichever way
/// the reply came.
class RoundTripHelperClient : public PrivilegedHelperClient {
public:
    static constexpr std::chrono::milliseconds replyBound{5000};

    PrivilegedHelperResponse send(const PrivilegedHelperCommand& command) final;

private:
    /// Carries an encoded command to the helper and gives its reply, over a connection of its own that is closed by
    /// then.
    /// @throws PrivilegedHelperClientError::timeout() when no reply comes within the bound, and the connection's own
    /// error.
    virtual PrivilegedHelperReply roundTrip(const std::string& body, std::chrono::milliseconds bound) = 0;
};

} // namespace tavo
