#include "TavoPrivilegedHelper/HelperOptions.h"

#include <charconv>
#include <limits>
#include <string_view>

namespace tavo {

namespace {

uid_t parseUser(std::string_view text) {
    uid_t user = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, user);
    // The largest number means "no user" to the kernel's calls.
    if (text.empty() || error != std::errc() || stop != end || user == std::numeric_limits<uid_t>::max()) {
        throw HelperUsageError("--user needs a user id in digits, not \"" + std::string(text) + "\".");
    }
    return user;
}

} // namespace

HelperOptions HelperOptions::parse(std::span<const char* const> arguments) {
    HelperOptions options;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--after-stop") {
            options.task = Task::afterStop;
        } else if (argument == "--version") {
            options.task = Task::printVersion;
        } else if (argument == "--help") {
            options.task = Task::printHelp;
        } else if (argument == "--user") {
            ++index;
            options.user = parseUser(index < arguments.size() ? arguments[index] : "");
        } else {
            throw HelperUsageError("unknown argument \"" + std::string(argument) + "\"; see --help.");
        }
    }
    return options;
}

std::string HelperOptions::help() {
    return "Usage: TavoPrivilegedHelper [--user ID] [--after-stop] [--version] [--help]\n"
           "\n"
           "Lets Tavo keep this computer awake with its lid closed. It is started by the system as a service, as "
           "root;\n"
           "see tavoctl helper.\n"
           "\n"
           "  --user ID     serve this user too, beside root\n"
           "  --after-stop  undo what a helper that has ended has left, for processes that have ended too\n";
}

} // namespace tavo
