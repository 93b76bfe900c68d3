#include "TavoInhibit/InhibitOptions.h"

#include "TavoInhibit/Wording.h"

#include <string_view>

namespace tavo {

namespace {

InhibitOptions rejected(std::string problem) {
    InhibitOptions options;
    options.problem = std::move(problem).append("; try tavo-inhibit --help");
    return options;
}

InhibitOptions showing(InhibitOptions::Action action) {
    InhibitOptions options;
    options.action = action;
    return options;
}

} // namespace

InhibitOptions parseInhibitOptions(int argc, char** argv) {
    auto idle = false;
    InhibitOptions options;
    for (auto index = 1; index < argc; ++index) {
        const std::string_view argument = argv[index];
        if (argument == "--help") {
            return showing(InhibitOptions::Action::showHelp);
        }
        if (argument == "--version") {
            return showing(InhibitOptions::Action::showVersion);
        }
        if (argument.size() < 2 || argument[0] != '-' ||
            argument.find_first_not_of("is", 1) != std::string_view::npos) {
            return rejected("\"" + shortened(withoutControls(argument), 100) + "\" is not understood");
        }
        idle = idle || argument.find('i') != std::string_view::npos;
        options.sleep = options.sleep || argument.find('s') != std::string_view::npos;
    }
    if (!idle) {
        return rejected(options.sleep ? "-s adds to -i and does not stand alone" : "-i is needed to hold anything");
    }
    options.action = InhibitOptions::Action::hold;
    return options;
}

std::string helpText() {
    return R"(NAME
    tavo-inhibit - keep this computer awake until standard input ends

USAGE
    tavo-inhibit -i [-s]
    tavo-inhibit --help
    tavo-inhibit --version

DESCRIPTION
    Takes a lock from logind, reports it on standard output, and holds it
    until standard input ends or a signal (TERM, INT, HUP) comes. The lock ends
    with the program, however it ends.

    Because many desktops decide for themselves when to suspend, it then asks
    the desktop too, where one runs: org.gnome.SessionManager and
    org.freedesktop.PowerManagement, and only where neither holds the computer
    awake the portal, org.freedesktop.portal.Desktop. It starts none of them.
    One that appears later is asked then, and a session bus that ends is
    waited for.

    tavo and tavoctl start it. To try it by hand: tavo-inhibit -i -s, and
    Ctrl-D to release it. The example at the end holds it for a minute.

OPTIONS
    -i          Do not suspend because nobody uses the computer (idle).
    -s          Nor because somebody asks for it (sleep). Adds to -i.
    --help      Show this text.
    --version   Show the version.

OUTPUT
    One line for each event, the first one logind's:

        SERVICE STATE WHAT[; NOTICE]

    SERVICE     logind, gnome, power-management or portal; desktop when
                logind's lock does not hold the desktop back and none of
                its services took the request
    STATE       held     it is held
                asked    the portal was asked; its answer is still to come
                refused  the service answered with an error, or not in time
                lost     the service or its bus went away
    WHAT        idle or idle:sleep from logind, suspend from the others
    NOTICE      the part of the request that was refused, and a remedy

EXIT STATUS
    0           Standard input ended, or a signal came.
    64          Wrong usage.
    69          logind's lock could not be held; standard error says why.
    70          Something failed inside; standard error says what.

ENVIRONMENT
    DBUS_SESSION_BUS_ADDRESS, XDG_RUNTIME_DIR
                Where the session bus is. Having none is no error.
    DBUS_SYSTEM_BUS_ADDRESS
                Where the system bus is, if not at its usual place.

SEE ALSO
    tavo(1), tavoctl(1), systemd-inhibit(1)

EXAMPLE
    sleep 60 | tavo-inhibit -i -s
)";
}

std::string versionText() {
    return "tavo-inhibit " TAVO_VERSION "\n";
}

} // namespace tavo
