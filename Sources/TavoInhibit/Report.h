#pragma once

#include <string>

namespace tavo {

/// Who is asked to keep the computer awake.
enum class InhibitService {
    logind,
    gnome,
    powerManagement,
    portal,
    /// The desktop as a whole, when none of its services took the request.
    desktop,
};

/// What became of asking.
enum class InhibitState {
    /// The service holds the computer awake for us.
    held,
    /// The service took the request and has not said yet whether it honours it (the portal).
    asked,
    /// The service answered with an error, or not in time.
    refused,
    /// What was held or asked ended: the service, its owner or its bus went away.
    lost,
};

/// One event, and one line of tavo-inhibit's standard output:
///
///     line    = service " " state " " what [ "; " notice ] "\n"
///     service = "logind" / "gnome" / "power-management" / "portal" / "desktop"
///     state   = "held" / "asked" / "refused" / "lost"
///     what    = "idle" / "idle:sleep"     for logind, what is held
///             / "suspend"                 for the others
///     notice  = a lower-case sentence for the user, in UTF-8: what is held less than asked, and what to do about it
///
/// `logind` is org.freedesktop.login1 (block locks), `gnome` is org.gnome.SessionManager, `power-management` is
/// org.freedesktop.PowerManagement, `portal` is org.freedesktop.portal.Desktop. `desktop` is only ever `refused`: logind's
/// lock does not hold this user's desktop back, and no service of it took the request. Neither `what` nor `notice` holds a
/// newline or another control character, and no line is longer than 4095 bytes with its newline.
///
/// The first line is logind's, always `held`, and the only one of logind's. Each later line replaces what was known
/// about its service. The portal is asked only while no other desktop service holds: `held` by one of them ends the
/// portal's request without a line of its own. `held`, `asked` or `refused` from any of these ends what was said of
/// `desktop`. `lost` follows only `held` or `asked`.
struct ReportLine {
    InhibitService service = InhibitService::logind;
    InhibitState state = InhibitState::held;
    std::string what;
    std::string notice;
};

/// The line without its newline.
std::string formatted(const ReportLine& line);

/// Writes lines to a descriptor that somebody may have stopped reading, or closed.
///
/// Never blocks and never fails: a line that finds no room, or no reader, is dropped, because holding the computer
/// awake matters more than telling about it.
class Report {
public:
    /// @param output stays the caller's.
    explicit Report(int output) : output(output) {}

    void post(const ReportLine& line) { postText(formatted(line)); }

    /// Posts any text as one line.
    void postText(std::string text);

private:
    int output;
};

} // namespace tavo
