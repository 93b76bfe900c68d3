#include "helper/macos/PrivilegedHelperExchange.h"

#include "helper/PrivilegedHelperClient.h"

#include <utility>

namespace tavo {

namespace {

/// Closes a connection however the call ends.
class InvalidatedAtEnd {
public:
    explicit InvalidatedAtEnd(PrivilegedHelperConnection& connection) : connection(connection) {}
    InvalidatedAtEnd(const InvalidatedAtEnd&) = delete;
    InvalidatedAtEnd& operator=(const InvalidatedAtEnd&) = delete;
    ~InvalidatedAtEnd() { connection.invalidate(); }

private:
    PrivilegedHelperConnection& connection;
};

} // namespace

void PrivilegedHelperReplySlot::receive(PrivilegedHelperReply reply) noexcept {
    signal(std::move(reply));
}

void PrivilegedHelperReplySlot::fail(std::exception_ptr error) noexcept {
    signal(std::move(error));
}

void PrivilegedHelperReplySlot::signal(Outcome arrived) noexcept {
    const std::lock_guard lock(mutex);
    outcome = std::move(arrived);
    signalled.notify_all();
}

std::optional<PrivilegedHelperReply> PrivilegedHelperReplySlot::wait(std::chrono::milliseconds bound) const {
    std::unique_lock lock(mutex);
    signalled.wait_for(lock, bound, [this] { return !std::holds_alternative<std::monostate>(outcome); });
    if (const auto* error = std::get_if<std::exception_ptr>(&outcome)) {
        std::rethrow_exception(*error);
    }
    const auto* reply = std::get_if<PrivilegedHelperReply>(&outcome);
    return reply == nullptr ? std::nullopt : std::optional(*reply);
}

PrivilegedHelperReply exchange(PrivilegedHelperConnection& connection, const std::string& body,
                               std::chrono::milliseconds bound) {
    const InvalidatedAtEnd closing(connection);
    const auto slot = std::make_shared<PrivilegedHelperReplySlot>();
    if (!connection.send(body, slot)) {
        throw PrivilegedHelperClientError::noProxy();
    }
    if (auto reply = slot->wait(bound)) {
        return *std::move(reply);
    }
    throw PrivilegedHelperClientError::timeout();
}

} // namespace tavo
