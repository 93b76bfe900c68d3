#include "DesktopStandIn.h"

#include "Require.h"

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <algorithm>

namespace tavo {

namespace {

constexpr std::array<const char*, 3> serviceNames{"org.gnome.SessionManager", "org.freedesktop.PowerManagement",
                                                  "org.freedesktop.portal.Desktop"};

/// The number of the service whose call this is, or whose request it ends.
std::size_t serviceOf(const BusWire::Header& call) {
    const auto has = [&](const char* name) { return call.interface.starts_with(name); };
    return has("org.gnome.") ? 0 : has("org.freedesktop.PowerManagement") ? 1 : 2;
}

std::string ownerOf(char digit) {
    return ":1." + std::to_string(static_cast<unsigned char>(digit));
}

std::string requestOf(char digit) {
    return "/request/r" + std::to_string(static_cast<unsigned char>(digit));
}

/// The service that GetNameOwner asks for.
std::size_t nameAsked(const BusWire::Message& call) {
    constexpr std::size_t lengthSize = 4;
    const auto* const name =
        std::find(serviceNames.begin(), serviceNames.end(), std::string_view(call.body.c_str() + lengthSize));
    require(name != serviceNames.end(), "only the owners of known names are asked for");
    return static_cast<std::size_t>(name - serviceNames.begin());
}

} // namespace

void DesktopStandIn::step(char letter, std::string_view content) {
    switch (letter) {
    case 'a':
        answerSensibly(content);
        break;
    case 'e':
        answerWithError(content);
        break;
    case 'r':
        answerWithBytes(content);
        break;
    case 's':
        announceOwner(content);
        break;
    case 'p':
        respond(content);
        break;
    case 'x':
        keepsToInterfaces = false;
        send(content);
        break;
    case 'd':
        socket = FileDescriptor();
        break;
    default:
        break;
    }
}

/// A signature up to a bar, and a body.
void DesktopStandIn::answerWithBytes(std::string_view content) {
    const auto bar = std::min(content.find('|'), content.size());
    keepsToInterfaces = false;
    answer(content.substr(0, bar), content.substr(std::min(bar + 1, content.size())));
}

bool DesktopStandIn::receive() {
    std::array<char, 4096> buffer;
    const auto count = socket ? recv(socket.get(), buffer.data(), buffer.size(), 0) : 0;
    if (count <= 0) {
        return false;
    }
    received.append(buffer.data(), static_cast<std::size_t>(count));
    if (!hasBegun) {
        send(BusWire::answerAuthentication(received, hasBegun));
    }
    while (hasBegun) {
        const auto message = BusWire::takeMessage(received);
        if (!message) {
            break;
        }
        note(*message);
    }
    return true;
}

void DesktopStandIn::note(const BusWire::Message& message) {
    const auto& header = message.header;
    if (header.type != BusWire::Type::call) {
        require(!keepsToInterfaces, "the program only calls");
    } else if (header.member == "Hello") {
        reply(header.serial, "s", BusBody().text(":1.7").bytes());
    } else if (header.member == "AddMatch" || header.member == "RemoveMatch") {
        reply(header.serial, "", "");
    } else if (header.member == "Inhibit" || header.member == "GetNameOwner") {
        open.push_back(message);
    } else {
        noteRelease(message);
    }
}

/// A release names what its receiver has given, and once.
void DesktopStandIn::noteRelease(const BusWire::Message& message) {
    const auto& header = message.header;
    const auto token = header.member == "Close" ? header.path : message.body;
    require(header.member == "Close" || header.member == "Uninhibit" || header.member == "UnInhibit",
            "nothing else is asked for");
    require(held.erase({serviceOf(header), token}) == 1 || !keepsToInterfaces, "a release is of what is held");
    require(owners[serviceOf(header)] == header.destination || !keepsToInterfaces, "it goes to the one who holds it");
}

void DesktopStandIn::answerSensibly(std::string_view content) {
    if (open.empty()) {
        return;
    }
    const auto call = open.front().header;
    const char digit = content.empty() ? '1' : content.front();
    if (call.member == "GetNameOwner") {
        const auto owner = ownerOf(digit);
        setOwner(nameAsked(open.front()), owner);
        answer("s", BusBody().text(owner).bytes());
        return;
    }
    const auto service = serviceOf(call);
    const auto path = requestOf(digit);
    const auto cookie = BusBody().number(static_cast<unsigned char>(digit)).bytes();
    const bool isPortal = service == 2;
    if (!late.contains(call.serial)) {
        held.insert({service, isPortal ? path : cookie});
    }
    answer(isPortal ? "o" : "u", isPortal ? BusBody().text(path).bytes() : cookie);
}

void DesktopStandIn::answerWithError(std::string_view content) {
    if (open.empty()) {
        return;
    }
    const auto bar = std::min(content.find('|'), content.size());
    std::string name(content.substr(0, bar));
    if (name.empty()) {
        name = "org.freedesktop.DBus.Error.UnknownObject";
    }
    const auto text = content.substr(std::min(bar + 1, content.size()));
    keepsToInterfaces = keepsToInterfaces && BusWire::isText(text) && sd_bus_interface_name_is_valid(name.c_str()) > 0;
    const auto serial = open.front().header.serial;
    open.pop_front();
    send(BusWire::message({.type = BusWire::Type::error,
                           .serial = ++serials,
                           .replySerial = serial,
                           .errorName = name,
                           .sender = "org.freedesktop.DBus",
                           .signature = "s"},
                          BusBody().text(text).bytes()));
}

/// A digit for the service, and one for its new owner: 0 for none.
void DesktopStandIn::announceOwner(std::string_view content) {
    if (content.size() < 2) {
        return;
    }
    const auto service = static_cast<unsigned char>(content[0]) % serviceNames.size();
    const auto owner = content[1] == '0' ? std::string() : ownerOf(content[1]);
    setOwner(service, owner);
    send(BusWire::message({.type = BusWire::Type::signal,
                           .serial = ++serials,
                           .path = "/org/freedesktop/DBus",
                           .interface = "org.freedesktop.DBus",
                           .member = "NameOwnerChanged",
                           .sender = "org.freedesktop.DBus",
                           .signature = "sss"},
                          BusBody().text(serviceNames.at(service)).text("").text(owner).bytes()));
}

/// What an earlier owner had taken, or is still to answer, has ended with it.
void DesktopStandIn::setOwner(std::size_t service, const std::string& owner) {
    if (owners.at(service) == owner) {
        return;
    }
    owners.at(service) = owner;
    std::erase_if(held, [&](const auto& token) { return token.first == service; });
    for (const auto& call : open) {
        if (call.header.member == "Inhibit" && serviceOf(call.header) == service) {
            late.insert(call.header.serial);
        }
    }
}

/// A digit for the sender, one for the request, and the code.
void DesktopStandIn::respond(std::string_view content) {
    if (content.size() < 3) {
        return;
    }
    const auto code = static_cast<std::uint32_t>(static_cast<unsigned char>(content[2]) - '0');
    if (code != 0) {
        keepsToInterfaces = false; // a portal that refuses has nothing to release
    }
    send(BusWire::message({.type = BusWire::Type::signal,
                           .serial = ++serials,
                           .path = requestOf(content[1]),
                           .interface = "org.freedesktop.portal.Request",
                           .member = "Response",
                           .sender = ownerOf(content[0]),
                           .signature = "ua{sv}"},
                          BusBody().number(code).beginArray().endArray().bytes()));
}

void DesktopStandIn::answer(std::string_view signature, std::string_view body) {
    if (!open.empty()) {
        const auto serial = open.front().header.serial;
        open.pop_front();
        reply(serial, signature, body);
    }
}

void DesktopStandIn::reply(std::uint32_t serial, std::string_view signature, std::string_view body) {
    constexpr std::size_t longestSignature = 255;
    send(BusWire::message({.serial = ++serials,
                           .replySerial = serial,
                           .sender = "org.freedesktop.DBus",
                           .signature = std::string(signature.substr(0, longestSignature))},
                          body));
}

void DesktopStandIn::send(std::string_view bytes) {
    if (socket && ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) {
        socket = FileDescriptor(); // the program has hung up, or reads no more
    }
}

} // namespace tavo
