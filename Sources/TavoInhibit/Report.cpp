#include "TavoInhibit/Report.h"

#include "TavoInhibit/Wording.h"

#include <poll.h>
#include <unistd.h>

#include <climits>

namespace tavo {
namespace {

const char* nameOf(InhibitService service) {
    switch (service) {
    case InhibitService::logind:
        return "logind";
    case InhibitService::gnome:
        return "gnome";
    case InhibitService::powerManagement:
        return "power-management";
    case InhibitService::portal:
        return "portal";
    case InhibitService::desktop:
        return "desktop";
    }
    return "";
}

const char* nameOf(InhibitState state) {
    switch (state) {
    case InhibitState::held:
        return "held";
    case InhibitState::asked:
        return "asked";
    case InhibitState::refused:
        return "refused";
    case InhibitState::lost:
        return "lost";
    }
    return "";
}

} // namespace

std::string formatted(const ReportLine& line) {
    std::string text = nameOf(line.service);
    text.append(" ").append(nameOf(line.state)).append(" ").append(line.what);
    if (!line.notice.empty()) {
        text.append("; ").append(withoutControls(line.notice));
    }
    return text;
}

void Report::postText(std::string text) {
    // A pipe that polls as writable has room for PIPE_BUF bytes (pipe(7)), so that much is written whole and at once.
    // The descriptor is not made non-blocking instead, because others may share its flags (a terminal, a shell).
    text = shortened(text, PIPE_BUF - 1);
    text += '\n';
    pollfd room{output, POLLOUT, 0};
    if (::poll(&room, 1, 0) != 1 || (room.revents & POLLOUT) == 0) {
        return;
    }
    // A closed pipe is no reason to let go: the end of standard input is.
    [[maybe_unused]] const auto written = ::write(output, text.data(), text.size());
}

} // namespace tavo
