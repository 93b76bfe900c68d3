#include "TavoInhibit/InhibitOptions.h"
#include "TavoInhibit/InhibitProgram.h"
#include "TavoInhibit/Wording.h"
#include "system/BusAddresses.h"

#include <sysexits.h>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

void print(std::FILE* stream, const std::string& text) {
    // Nobody could be told that this failed.
    std::fputs(text.c_str(), stream);
}

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
        print(stdout, tavo::helpText());
        return EX_OK;
    case Action::showVersion:
        print(stdout, tavo::versionText());
        return EX_OK;
    case Action::rejectUsage:
        print(stderr, options.problem + "\n");
        return EX_USAGE;
    case Action::hold:
        break;
    }
    tavo::restrictBusAddresses();
    try {
        return hold(options.sleep);
    } catch (const std::system_error& error) {
        print(stderr, "the computer is not kept awake: " + tavo::quotedMessage(error.what()) + "\n");
        return EX_SOFTWARE;
    }
}
