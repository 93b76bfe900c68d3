#include "TavoInhibit/Report.h"

#include "TavoInhibit/Wording.h"

#include <poll.h>
#include <unistd.h>

#include <climits>

namespace tavo {
void Report::post(AssertionReport report) {
    report.notice = withoutControls(report.notice);
    postText(assertionReportLine(report));
}

void Report::postText(std::string text) {
    // A pipe that polls as writable takes PIPE_BUF bytes (pipe(7)), so that much is written whole and at once.
    // The descriptor is not made non-blocking instead, because others may share its flags (a terminal, a shell).
    text = shortened(text, PIPE_BUF - 1);
    text += '\n';
    pollfd state{output, POLLOUT, 0};
    if (poll(&state, 1, 0) != 1 || (state.revents & POLLOUT) == 0) {
        return;
    }
    // A closed pipe is no reason to release the lock: the end of standard input is.
    [[maybe_unused]] const auto written = write(output, text.data(), text.size());
}

} // namespace tavo
