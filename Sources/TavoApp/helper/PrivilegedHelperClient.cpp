#include "helper/PrivilegedHelperClient.h"

namespace tavo {

PrivilegedHelperResponse RoundTripHelperClient::send(const PrivilegedHelperCommand& command) {
    const auto reply = roundTrip(command.encoded(), replyBound);
    if (reply.message) {
        throw PrivilegedHelperClientError::transportError(*reply.message);
    }
    if (!reply.data) {
        throw PrivilegedHelperClientError::invalidResponse();
    }
    return PrivilegedHelperResponse::decode(*reply.data);
}

} // namespace tavo
