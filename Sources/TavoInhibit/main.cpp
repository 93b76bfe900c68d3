#include "TavoInhibit/InhibitOptions.h"
#include "TavoInhibit/InhibitProgram.h"
#include "TavoInhibit/Wording.h"
#include "system/BusAddresses.h"

#include <sysexits.h>

#include <csignal>
#include <iostream>

namespace {

int hold(bool sleep) {
    // A parent that closed our output gets no more reports; it ends the lock by closing our input.
    std::signal(SIGPIPE, SIG_IGN);
    tavo::InhibitProgram::blockEndingSignals();
    return tavo::InhibitProgram(sleep).run();
}

} // namespace

int main(int argc, char** argv) {
    using Action = tavo::InhibitOptions::Action;
    tavo::occupyStandardDescriptors();
    const auto options = tavo::parseInhibitOptions(argc, argv);
    switch (options.action) {
    case Action::showHelp:
        std::cout << tavo::helpText();
        return EX_OK;
    case Action::showVersion:
        std::cout << tavo::versionText();
        return EX_OK;
    case Action::rejectUsage:
        std::cerr << options.problem << '\n';
        return EX_USAGE;
    case Action::hold:
        break;
    }
    tavo::restrictBusAddresses();
    try {
        return hold(options.sleep);
    } catch (const std::system_error& error) {
        std::cerr << "the computer is not kept awake: " << tavo::quotedMessage(error.what()) << '\n';
        return EX_SOFTWARE;
    }
}
