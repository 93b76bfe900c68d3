#pragma once

#include "helper/PrivilegedHelperClient.h"
#include "helper/linux/HelperLocations.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>

namespace tavo {

/// Asks the helper over its Unix socket, one connection a call. See SocketFraming for what goes over it.
///
/// When nobody listens, send() throws the std::system_error of connect(2) at once: ENOENT or ECONNREFUSED. A socket that
/// is another user's is PrivilegedHelperClientError::transportError() with a sentence for this one. A connection
/// that ends without a reply, and a reply of another form, are PrivilegedHelperClientError::invalidResponse().
class SocketPrivilegedHelperClient final : public RoundTripHelperClient {
public:
    explicit SocketPrivilegedHelperClient(std::filesystem::path socket = HelperLocations::socket())
        : socket(std::move(socket)) {}

private:
    PrivilegedHelperReply roundTrip(const std::string& body, std::chrono::milliseconds bound) override;

    std::filesystem::path socket;
};

} // namespace tavo
