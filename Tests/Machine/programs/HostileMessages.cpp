#include "HostileMessages.h"

#include "helper/PrivilegedHelperMessages.h"
#include "helper/linux/SocketFraming.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tavo {

namespace {

constexpr std::size_t usualLength = 300;

} // namespace

HostileMessages::Message HostileMessages::next() {
    constexpr std::size_t kinds = 8;
    switch (below(kinds)) {
    case 0:
        return {{bytes(below(usualLength))}}; // the first four bytes announce anything
    case 1:
        return {{truncated()}};
    case 2:
        return {{tooLong()}};
    case 3:
        return {{SocketFraming::request(ofWrongTypes())}};
    case 4:
        return {{SocketFraming::request(deeplyNested())}};
    case 5: {
        Message message;
        const auto whole = SocketFraming::request(bytes(below(usualLength)));
        for (std::size_t at = 0; at < whole.size();) {
            const auto length = 1 + below(whole.size() - at);
            message.pieces.push_back(whole.substr(at, length));
            at += length;
        }
        return message;
    }
    case 6:
        return {{SocketFraming::request(ofWrongTypes())}, false};
    default:
        return {{SocketFraming::request(bytes(below(usualLength)))}};
    }
}

std::string HostileMessages::bytes(std::size_t count) {
    std::string result(count, '\0');
    for (auto& byte : result) {
        byte = static_cast<char>(random() & 0xFFU);
    }
    return result;
}

std::string HostileMessages::truncated() {
    const auto whole =
        SocketFraming::request(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, true).encoded());
    return whole.substr(0, below(whole.size()));
}

std::string HostileMessages::tooLong() {
    constexpr std::size_t most = 0xFFFFFFFF;
    auto length = SocketFraming::maxBodySize + 1 + below(most - SocketFraming::maxBodySize);
    std::string frame(4, '\0');
    for (auto byte = frame.rbegin(); byte != frame.rend(); ++byte) {
        *byte = static_cast<char>(length & 0xFFU);
        length >>= 8U;
    }
    return frame + bytes(below(2 * SocketFraming::maxBodySize));
}

std::string HostileMessages::ofWrongTypes() {
    constexpr std::array<std::string_view, 4> keys{"ping", "resetSupport", "setSleepDisabled", "sleep"};
    constexpr std::array<std::string_view, 8> values{
        "null", "[]", "-1e999", "\"\\ud800\"", "true", "[{}]", "18446744073709551616", "\"{}\""};
    constexpr std::array<std::string_view, 5> changes{
        R"({"scope":"dc","disabled":true})", R"({"scope":"all","disabled":1})", R"({"scope":["all"],"disabled":true})",
        R"({"scope":"all"})", R"({"disabled":true,"scope":null})"};
    if (below(2) == 0) {
        return R"({"setSleepDisabled":)" + std::string(changes.at(below(changes.size()))) + "}";
    }
    return "{\"" + std::string(keys.at(below(keys.size()))) + "\":" + std::string(values.at(below(values.size()))) +
           "}";
}

std::string HostileMessages::deeplyNested() {
    const auto depth = 1 + below(SocketFraming::maxBodySize);
    const std::string_view opening = below(2) == 0 ? "[" : "{\"a\":";
    std::string body;
    while (body.size() + opening.size() <= depth) {
        body += opening;
    }
    return body;
}

} // namespace tavo
