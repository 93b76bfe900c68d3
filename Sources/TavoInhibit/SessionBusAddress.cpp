#include "TavoInhibit/SessionBusAddress.h"

#include "system/BusAddresses.h"

#include <string_view>
#include <utility>
#include <vector>

namespace tavo {
namespace {

constexpr std::string_view unixTransport = "unix:";
constexpr std::string_view pathKey = "path=";

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const auto end = text.find(separator);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::optional<unsigned> hexDigit(char character) {
    constexpr std::string_view digits = "0123456789abcdef";
    const auto lower = character >= 'A' && character <= 'F' ? static_cast<char>(character - 'A' + 'a') : character;
    const auto position = digits.find(lower);
    return position == std::string_view::npos ? std::nullopt : std::optional(static_cast<unsigned>(position));
}

/// Undoes the %XX of D-Bus addresses. Nothing when malformed.
std::optional<std::string> unescaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        if (text.front() != '%') {
            result += text.front();
            text.remove_prefix(1);
            continue;
        }
        const auto high = text.size() > 2 ? hexDigit(text[1]) : std::nullopt;
        const auto low = text.size() > 2 ? hexDigit(text[2]) : std::nullopt;
        if (!high || !low || (*high == 0 && *low == 0)) {
            return std::nullopt;
        }
        result += static_cast<char>(*high * 16 + *low);
        text.remove_prefix(3);
    }
    return result;
}

/// What characters of a path an address may hold as they are: "Server Addresses" in D-Bus's own documentation.
bool needsNoEscape(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || std::string_view("-_/.\\*").find(character) != std::string::npos;
}

std::string escaped(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const auto character : text) {
        if (needsNoEscape(character)) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result.append({'%', digits[byte / 16U], digits[byte % 16U]});
        }
    }
    return result;
}

SessionBusAddress atSocket(const std::filesystem::path& socket) {
    return {"unix:path=" + escaped(socket.native()), socket};
}

std::optional<SessionBusAddress> socketAddress(std::string_view entry) {
    if (!entry.starts_with(unixTransport)) {
        return std::nullopt;
    }
    for (const auto field : split(entry.substr(unixTransport.size()), ',')) {
        const auto path = field.starts_with(pathKey) ? unescaped(field.substr(pathKey.size())) : std::nullopt;
        if (path && path->starts_with('/')) {
            return atSocket(*path);
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<SessionBusAddress> findSessionBus(const char* busAddress, const char* runtimeFolder) {
    const std::string_view address = busAddress == nullptr ? "" : busAddress;
    for (const auto entry : split(address, ';')) {
        if (auto found = socketAddress(entry)) {
            return found;
        }
    }
    if (!address.empty()) {
        auto sockets = unixBusAddresses(address);
        return sockets.empty() ? std::nullopt : std::optional(SessionBusAddress{std::move(sockets), std::nullopt});
    }
    const std::string_view folder = runtimeFolder == nullptr ? "" : runtimeFolder;
    if (!folder.starts_with('/')) {
        return std::nullopt;
    }
    return atSocket(std::filesystem::path(folder) / "bus");
}

} // namespace tavo
