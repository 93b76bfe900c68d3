#include "helper/PrivilegedHelperExchange.h"

#include <utility>

namespace tavo {

namespace {

/// Gives a connection up however the call ends.
class InvalidatedConnection {
public:
    explicit InvalidatedConnection(std::unique_ptr<PrivilegedHelperConnection> connection)
        : connection(std::move(connection)) {}
    InvalidatedConnection(const InvalidatedConnection&) = delete;
    InvalidatedConnection& operator=(const InvalidatedConnection&) = delete;
    ~InvalidatedConnection() { connection->invalidate(); }

    PrivilegedHelperConnection* operator->() const { return connection.get(); }

private:
    std::unique_ptr<PrivilegedHelperConnection> connection;
};

PrivilegedHelperResponse responseOf(const PrivilegedHelperReply& reply) {
    if (reply.message) {
        throw PrivilegedHelperClientError::transportError(*reply.message);
    }
    if (!reply.data) {
        throw PrivilegedHelperClientError::invalidResponse();
    }
    return PrivilegedHelperResponse::decode(*reply.data);
}

} // namespace

void PrivilegedHelperReplySlot::receive(const PrivilegedHelperReply& reply) noexcept {
    try {
        signal(responseOf(reply));
    } catch (...) {
        signal(std::current_exception());
    }
}

void PrivilegedHelperReplySlot::fail(std::exception_ptr error) noexcept {
    signal(std::move(error));
}

void PrivilegedHelperReplySlot::end() noexcept {
    const std::lock_guard lock(mutex);
    hasSignal = true;
    signalled.notify_all();
}

void PrivilegedHelperReplySlot::signal(Outcome arrived) noexcept {
    const std::lock_guard lock(mutex);
    outcome = std::move(arrived);
    hasSignal = true;
    signalled.notify_all();
}

bool PrivilegedHelperReplySlot::isSignalled() const {
    const std::lock_guard lock(mutex);
    return hasSignal;
}

bool PrivilegedHelperReplySlot::waitForSignal(std::chrono::milliseconds bound) const {
    std::unique_lock lock(mutex);
    return signalled.wait_for(lock, bound, [this] { return hasSignal; });
}

PrivilegedHelperResponse PrivilegedHelperReplySlot::result() const {
    const std::lock_guard lock(mutex);
    if (const auto* error = std::get_if<std::exception_ptr>(&outcome)) {
        std::rethrow_exception(*error);
    }
    if (const auto* response = std::get_if<PrivilegedHelperResponse>(&outcome)) {
        return *response;
    }
    throw PrivilegedHelperClientError::invalidResponse();
}

PrivilegedHelperExchange::PrivilegedHelperExchange(std::shared_ptr<PrivilegedHelperTransport> transport,
                                                   std::shared_ptr<PrivilegedHelperReplyWaiting> waiting)
    : transport(std::move(transport)), waiting(std::move(waiting)) {}

PrivilegedHelperResponse PrivilegedHelperExchange::send(const PrivilegedHelperCommand& command) {
    const auto body = command.encoded();
    const auto slot = std::make_shared<PrivilegedHelperReplySlot>();
    const InvalidatedConnection connection(transport->connect());
    if (!connection->send(body, slot)) {
        throw PrivilegedHelperClientError::noProxy();
    }
    if (!waiting->waitForSignal(*slot, replyBound)) {
        throw PrivilegedHelperClientError::timeout();
    }
    return slot->result();
}

} // namespace tavo
