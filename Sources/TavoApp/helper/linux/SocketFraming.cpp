#include "helper/linux/SocketFraming.h"

#include <fmt/format.h>

#include <cstdint>

namespace tavo {

namespace {

constexpr unsigned hasData = 1;
constexpr unsigned hasMessage = 2;
constexpr std::size_t lengthSize = 4;

void appendPart(std::string& frame, std::string_view part) {
    const auto length = static_cast<std::uint32_t>(part.size());
    for (unsigned shift = 32; shift > 0;) {
        shift -= 8;
        frame.push_back(static_cast<char>((length >> shift) & 0xFFU));
    }
    frame.append(part);
}

/// Takes one part off `bytes`; nothing while it is not whole.
std::optional<std::string_view> takePart(std::string_view& bytes) {
    if (bytes.size() < lengthSize) {
        return std::nullopt;
    }
    std::uint32_t length = 0;
    for (const char byte : bytes.substr(0, lengthSize)) {
        length = length << 8U | static_cast<unsigned char>(byte);
    }
    if (length > SocketFraming::maxBodySize) {
        throw SocketFramingError(
            fmt::format("a message of {} bytes is too long: {} are allowed.", length, SocketFraming::maxBodySize));
    }
    if (bytes.size() - lengthSize < length) {
        return std::nullopt;
    }
    const auto part = bytes.substr(lengthSize, length);
    bytes.remove_prefix(lengthSize + length);
    return part;
}

} // namespace

std::string SocketFraming::request(std::string_view body) {
    if (body.size() > maxBodySize) {
        throw SocketFramingError(
            fmt::format("a command of {} bytes is too long: {} are allowed.", body.size(), maxBodySize));
    }
    std::string frame;
    appendPart(frame, body);
    return frame;
}

std::string SocketFraming::reply(const PrivilegedHelperReply& reply) {
    std::string frame(1, static_cast<char>((reply.data ? hasData : 0U) | (reply.message ? hasMessage : 0U)));
    for (const auto& part : {reply.data, reply.message}) {
        if (part) {
            appendPart(frame, std::string_view(*part).substr(0, maxBodySize));
        }
    }
    return frame;
}

std::optional<std::string> RequestFrameReader::add(std::string_view bytes) {
    received.append(bytes);
    std::string_view rest = received;
    const auto body = takePart(rest);
    return body ? std::optional<std::string>(*body) : std::nullopt;
}

std::optional<PrivilegedHelperReply> ReplyFrameReader::add(std::string_view bytes) {
    received.append(bytes);
    if (received.empty()) {
        return std::nullopt;
    }
    const auto flags = static_cast<unsigned char>(received.front());
    if ((flags & ~(hasData | hasMessage)) != 0) {
        throw SocketFramingError("the privileged helper answered in a form that this version does not know.");
    }
    auto rest = std::string_view(received).substr(1);
    PrivilegedHelperReply reply;
    for (const auto& [flag, part] : {std::pair{hasData, &reply.data}, std::pair{hasMessage, &reply.message}}) {
        if ((flags & flag) == 0) {
            continue;
        }
        const auto taken = takePart(rest);
        if (!taken) {
            return std::nullopt;
        }
        *part = std::string(*taken);
    }
    return reply;
}

} // namespace tavo
