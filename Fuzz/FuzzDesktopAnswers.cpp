#include "DesktopStandIn.h"
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
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {
namespace {

/// Whoever reads from them never waits.
std::array<FileDescriptor, 2> owned(const std::array<int, 2>& ends) {
    for (const int end : ends) {
        checked(fcntl(end, F_SETFL, O_NONBLOCK) == 0 ? 0 : -errno, "make a descriptor non-blocking");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::array<FileDescriptor, 2> makePair() {
    std::array<int, 2> ends{};
    checked(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) == 0 ? 0 : -errno, "make a socket pair");
    return owned(ends);
}

std::array<FileDescriptor, 2> makePipe() {
    std::array<int, 2> ends{};
    checked(pipe(ends.data()) == 0 ? 0 : -errno, "make a pipe");
    return owned(ends);
}

EventLoop makeLoop() {
    EventLoop loop;
    checked(sd_event_new(Receive(loop)), "make an event loop");
    return loop;
}

/// A desktop at one end of a connection, and the program's part for the desktop at the other.
class Conversation {
public:
    Conversation() {
        checked(sd_bus_new(Receive(bus)), "make a connection");
        const int descriptor = dup(connection[0].get());
        checked(sd_bus_set_fd(bus.get(), descriptor, descriptor), "use the socket");
        connection[0] = FileDescriptor();
        checked(sd_bus_set_bus_client(bus.get(), 1), "be a client");
        checked(sd_bus_start(bus.get()), "begin");
        checked(sd_bus_attach_event(bus.get(), event.get(), SD_EVENT_PRIORITY_NORMAL), "attach to the loop");
        inhibition.busConnected(*bus);
        exchange();
    }

    void step(char letter, std::string_view content) {
        if (letter == 'q') {
            inhibition.reportWhenNobodyAccepts();
        }
        desktop.step(letter, content);
        exchange();
    }

    void end() {
        if (sd_bus_is_open(bus.get()) > 0) {
            inhibition.release();
            exchange();
            require(!desktop.isSensible() || desktop.holdsNothing() || !desktop.isConnected(),
                    "what was held is released");
            return;
        }
        inhibition.busEnded();
        readReports();
        require(std::none_of(isHeld.begin(), isHeld.end(), [](const auto& entry) { return entry.second; }),
                "nothing is held over a connection that has ended");
    }

private:
    /// Lets both sides work until neither has anything to do.
    void exchange() {
        do {
            while (checked(sd_event_run(event.get(), 0), "run the loop") > 0) {
            }
        } while (desktop.receive());
        readReports();
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
        if (report->state == State::held && report->service != AssertionService::portal) {
            isHeld[AssertionService::portal] = false; // it is withdrawn without a line of its own
        }
    }

    EventLoop event = makeLoop();
    std::array<FileDescriptor, 2> reports = makePipe();
    std::array<FileDescriptor, 2> connection = makePair();
    DesktopStandIn desktop{std::move(connection[1])};
    Bus bus;
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
