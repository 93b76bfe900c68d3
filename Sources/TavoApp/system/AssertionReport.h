#pragma once

#include "base/RawValues.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// Who keeps the computer awake, or is asked to.
enum class AssertionService {
    logind,          ///< org.freedesktop.login1, by a block lock
    gnome,           ///< org.gnome.SessionManager
    powerManagement, ///< org.freedesktop.PowerManagement
    portal,          ///< org.freedesktop.portal.Desktop
    desktop,         ///< the desktop as a whole, when none of its services took the request
    caffeinate,      ///< the system's own tool on a Mac
};

template <>
struct RawValues<AssertionService> {
    static constexpr RawValueTable<AssertionService, 6> table{{
        {AssertionService::logind, "logind"},
        {AssertionService::gnome, "gnome"},
        {AssertionService::powerManagement, "power-management"},
        {AssertionService::portal, "portal"},
        {AssertionService::desktop, "desktop"},
        {AssertionService::caffeinate, "caffeinate"},
    }};
};

/// A service's answer.
enum class AssertionReportState {
    held,    ///< it holds the computer awake for us
    asked,   ///< it took the request and has not said yet whether it honours it (the portal)
    refused, ///< it answered with an error, or not in time
    lost,    ///< what was held or asked ended: the service, its owner or its bus went away
};

template <>
struct RawValues<AssertionReportState> {
    static constexpr RawValueTable<AssertionReportState, 4> table{{
        {AssertionReportState::held, "held"},
        {AssertionReportState::asked, "asked"},
        {AssertionReportState::refused, "refused"},
        {AssertionReportState::lost, "lost"},
    }};
};

/// One event, and one line of tavo-inhibit's standard output, which its parent reads:
///
///     line    = service " " state " " what [ "; " notice ] "\n"
///     service = "logind" / "gnome" / "power-management" / "portal" / "desktop"
///     state   = "held" / "asked" / "refused" / "lost"
///     what    = "idle" / "idle:sleep"     for logind, the lock that is held
///             / "suspend"                 for the others
///     notice  = a lower-case sentence for the user, in UTF-8: the planned locks that could not be taken, and a remedy
///
/// `desktop` is only ever `refused`: logind's lock does not hold this user's desktop back, and no service of it took
/// the request. Neither `what` nor `notice` holds a newline or another control character, and no line is longer than
/// 4095 bytes with its newline.
///
/// The first line is logind's, always `held`, and the only one of logind's. Each later line replaces what was known
/// about its service. The portal is asked only while no other desktop service holds: `held` by one of them ends the
/// portal's request without a line of its own. `held`, `asked` or `refused` from any of these ends what was said of
/// `desktop`. `lost` follows only `held` or `asked`.
struct AssertionReport {
    AssertionService service = AssertionService::logind;
    AssertionReportState state = AssertionReportState::held;

    /// The kinds of sleep that are, or were to be, held off: "idle", "idle:sleep", "suspend".
    std::string what;

    /// A sentence for the user about planned locks that could not be taken; empty when there is nothing to say.
    std::string notice;

    /// Whether it comes from one of the desktop's services.
    bool isFromDesktopService() const {
        return service == AssertionService::gnome || service == AssertionService::powerManagement ||
               service == AssertionService::portal;
    }

    bool operator==(const AssertionReport&) const = default;
};

/// The line without its newline.
std::string assertionReportLine(const AssertionReport& report);

/// Reads a line without its newline. Gives nothing for any other text.
std::optional<AssertionReport> parseAssertionReport(std::string_view line);

} // namespace tavo
