#include "BusWire.h"
#include "Pieces.h"
#include "Require.h"
#include "TavoInhibit/BusHandles.h"
#include "TavoInhibit/DesktopInhibition.h"
#include "base/FileDescriptor.h"
#include "system/AssertionReport.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {
namespace {

constexpr std::array<const char*, 3> serviceNames{"org.gnome.SessionManager", "org.freedesktop.PowerManagement",
                                                  "org.freedesktop.portal.Desktop"};

std::array<FileDescriptor, 2> makePair() {
    std::array<int, 2> ends{};
    checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0 ? 0 : -errno,
            "make a socket pair");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::array<FileDescriptor, 2> makePipe() {
    std::array<int, 2> ends{};
    checked(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0 ? 0 : -errno, "make a pipe");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

EventLoop makeLoop() {
    EventLoop loop;
    checked(sd_event_new(Receive(loop)), "make an event loop");
    return loop;
}

/// The number of the service whose call this is, or whose request it ends.
std::size_t serviceOf(const BusWire::Header& call) {
    const auto has = [&](const char* name) { return call.interface.starts_with(name); };
    return has("org.gnome.") ? 0 : has("org.freedesktop.PowerManagement") ? 1 : 2;
}

/// The desktop and its bus at one end of a connection, and the program's part for the desktop at the other.
class Conversation {
public:
    Conversation() {
        auto [client, own] = makePair();
        socket = std::move(own);
        checked(sd_bus_new(Receive(bus)), "make a connection");
        const int descriptor = dup(client.get());
        checked(sd_bus_set_fd(bus.get(), descriptor, descriptor), "use the socket");
        checked(sd_bus_set_bus_client(bus.get(), 1), "be a client");
        checked(sd_bus_start(bus.get()), "begin");
        checked(sd_bus_attach_event(bus.get(), event.get(), SD_EVENT_PRIORITY_NORMAL), "attach to the loop");
        inhibition.busConnected(*bus);
        exchange();
    }

    /// One step of the desktop's: a letter, and what belongs to it.
    void step(char letter, std::string_view content) {
        switch (letter) {
        case 'a':
            answerSensibly(content);
            break;
        case 'e':
            answerWithError(content);
            break;
        case 'r': {
            const auto bar = std::min(content.find('|'), content.size());
            isSensible = false;
            answer(content.substr(0, bar), content.substr(std::min(bar + 1, content.size())));
            break;
        }
        case 's':
            announceOwner(content);
            break;
        case 'p':
            respond(content);
            break;
        case 'x':
            isSensible = false;
            send(content);
            break;
        case 'q':
            inhibition.reportWhenNobodyAccepts();
            break;
        case 'd':
            socket = FileDescriptor();
            break;
        default:
            break;
        }
        exchange();
    }

    void end() {
        if (sd_bus_is_open(bus.get()) > 0) {
            inhibition.release();
            exchange();
            require(!isSensible || held.empty() || !socket, "what was held is released");
        } else {
            inhibition.busEnded();
        }
        readReports();
        require(!std::any_of(isHeld.begin(), isHeld.end(), [](const auto& entry) { return entry.second; }) ||
                    sd_bus_is_open(bus.get()) > 0,
                "nothing is held over a connection that has ended");
    }

private:
    /// Lets both sides work until neither has anything to do.
    void exchange() {
        do {
            while (checked(sd_event_run(event.get(), 0), "run the loop") > 0) {
            }
        } while (receive());
        readReports();
    }

    bool receive() {
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

    void note(const BusWire::Message& message) {
        const auto& header = message.header;
        if (header.type != BusWire::Type::call) {
            require(!isSensible, "the program only calls");
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
    void noteRelease(const BusWire::Message& message) {
        const auto& header = message.header;
        const auto token = header.member == "Close" ? header.path : message.body;
        require(header.member == "Close" || header.member == "Uninhibit" || header.member == "UnInhibit",
                "nothing else is asked for");
        require(held.erase({serviceOf(header), token}) == 1 || !isSensible, "a release is of what is held");
        require(owners[serviceOf(header)] == header.destination || !isSensible, "it goes to the one who holds it");
    }

    void answerSensibly(std::string_view content) {
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

    void answerWithError(std::string_view content) {
        if (open.empty()) {
            return;
        }
        const auto bar = std::min(content.find('|'), content.size());
        std::string name(content.substr(0, bar));
        if (name.empty()) {
            name = "org.freedesktop.DBus.Error.UnknownObject";
        }
        const auto text = content.substr(std::min(bar + 1, content.size()));
        isSensible = isSensible && BusWire::isText(text) && sd_bus_interface_name_is_valid(name.c_str()) > 0;
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
    void announceOwner(std::string_view content) {
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
    void setOwner(std::size_t service, const std::string& owner) {
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
    void respond(std::string_view content) {
        if (content.size() < 3) {
            return;
        }
        const auto code = static_cast<std::uint32_t>(static_cast<unsigned char>(content[2]) - '0');
        if (code != 0) {
            isSensible = false; // a portal that refuses has nothing to release
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

    static std::string ownerOf(char digit) { return ":1." + std::to_string(static_cast<unsigned char>(digit)); }

    static std::string requestOf(char digit) {
        return "/request/r" + std::to_string(static_cast<unsigned char>(digit));
    }

    /// The service that GetNameOwner asks for.
    static std::size_t nameAsked(const BusWire::Message& call) {
        constexpr std::size_t lengthSize = 4;
        const auto* const name =
            std::find(serviceNames.begin(), serviceNames.end(), std::string_view(call.body.c_str() + lengthSize));
        require(name != serviceNames.end(), "only the owners of known names are asked for");
        return static_cast<std::size_t>(name - serviceNames.begin());
    }

    void answer(std::string_view signature, std::string_view body) {
        if (!open.empty()) {
            const auto serial = open.front().header.serial;
            open.pop_front();
            reply(serial, signature, body);
        }
    }

    void reply(std::uint32_t serial, std::string_view signature, std::string_view body) {
        constexpr std::size_t longestSignature = 255;
        send(BusWire::message({.serial = ++serials,
                               .replySerial = serial,
                               .sender = "org.freedesktop.DBus",
                               .signature = std::string(signature.substr(0, longestSignature))},
                              body));
    }

    void send(std::string_view bytes) {
        if (socket && ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) {
            socket = FileDescriptor(); // the program has hung up, or reads no more
        }
    }

    void readReports() {
        std::array<char, 4096> buffer;
        for (;;) {
            const auto count = read(reports[0].get(), buffer.data(), buffer.size());
            if (count <= 0) {
                break;
            }
            lines.append(buffer.data(), static_cast<std::size_t>(count));
        }
        for (auto end = lines.find('\n'); end != std::string::npos; end = lines.find('\n')) {
            noteReport(lines.substr(0, end));
            lines.erase(0, end + 1);
        }
        require(lines.empty(), "a report is whole");
    }

    void noteReport(const std::string& line) {
        constexpr std::size_t longest = 4094;
        require(line.size() <= longest, "a report has a bound");
        const auto report = parseAssertionReport(line);
        require(report.has_value() && assertionReportLine(*report) == line, "the parent understands a report");
        using State = AssertionReportState;
        const bool isDesktop = report->service == AssertionService::desktop;
        require(isDesktop == !report->isFromDesktopService(), "nobody else is reported");
        require(!isDesktop || report->state == State::refused, "the desktop as a whole only refuses");
        require(report->state != State::lost || isHeld[report->service], "only what was held or asked is lost");
        isHeld[report->service] = report->state == State::held || report->state == State::asked;
    }

    EventLoop event = makeLoop();
    std::array<FileDescriptor, 2> reports = makePipe();
    FileDescriptor socket;
    Bus bus;
    std::string received;
    bool hasBegun = false;
    std::uint32_t serials = 0;

    /// Whether the desktop has kept to its interfaces so far, so that what it holds is known.
    bool isSensible = true;
    std::deque<BusWire::Message> open;
    std::array<std::string, serviceNames.size()> owners;

    /// The services' tokens.
    std::set<std::pair<std::size_t, std::string>> held;

    /// Calls to an owner that is no more.
    std::set<std::uint32_t> late;
    std::string lines;
    std::map<AssertionService, bool> isHeld;
    Report report{reports[1].get()};
    DesktopInhibition inhibition{*event, report, {{}, 2, {}, {}}};
};

} // namespace
} // namespace tavo

/// Whatever a desktop answers, what it holds is released once, and the reports are those that the parent understands.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tavo::Conversation conversation;
    for (const auto piece : tavo::pieces({reinterpret_cast<const char*>(data), size})) {
        if (!piece.empty()) {
            conversation.step(piece.front(), piece.substr(1));
        }
    }
    conversation.end();
    return 0;
}
