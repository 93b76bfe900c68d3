#include "TavoPrivilegedHelper/HelperMain.h"

#include "TavoPrivilegedHelper/HelperLog.h"
#include "base/UserID.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace tavo {

namespace {

constexpr int wrongUsage = 64; // EX_USAGE of sysexits.h

uid_t parseUser(std::string_view text) {
    const auto user = parseUserID(text);
    if (!user) {
        throw HelperUsageError("--user needs a user id in digits, not \"" + std::string(text) + "\".");
    }
    return *user;
}

/// root carries them out for whoever was approved: nothing else may be asked for along with them.
void requireAlone(std::string_view argument, std::size_t count) {
    if (count != 1) {
        throw HelperUsageError(std::string(argument) + " takes no other argument.");
    }
}

void runGrantTask(const std::function<void()>& task) {
    if (!task) {
        throw HelperUsageError("on this system there is nothing to grant or revoke; see tavoctl helper.");
    }
    task();
}

} // namespace

HelperOptions HelperOptions::parse(std::span<const char* const> arguments) {
    HelperOptions options;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--after-stop") {
            options.task = Task::afterStop;
        } else if (argument == "--activated") {
            options.isActivated = true;
        } else if (argument == "--grant" || argument == "--revoke") {
            requireAlone(argument, arguments.size());
            options.task = argument == "--grant" ? Task::grant : Task::revoke;
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
    if (options.isActivated && options.user) {
        throw HelperUsageError("--activated serves the owner of the socket; --user does not go with it.");
    }
    return options;
}

std::string HelperOptions::help() {
    return "Usage: TavoPrivilegedHelper [--user ID | --activated] [--after-stop]\n"
           "       TavoPrivilegedHelper --grant | --revoke | --version | --help\n"
           "\n"
           "Lets Tavo keep this computer awake with its lid closed. The system starts it\n"
           "as a service, as root; see tavoctl helper.\n"
           "\n"
           "  --user ID     serve this user too, beside root\n"
           "  --activated   serve the owner of the socket that systemd passes, and exit when\n"
           "                there is nothing to do\n"
           "  --after-stop  end the overrides that an earlier helper has left: all of them\n"
           "                after a stop on purpose, and after a crash or for a restart\n"
           "                only those of processes that have ended\n"
           "  --grant       let the user who asks use this helper, which a package has\n"
           "                brought; tavoctl helper install\n"
           "  --revoke      end that again, with every override; tavoctl helper uninstall\n"
           "  --version     print the version\n"
           "  --help        print this help\n"
           "\n"
           "Example: TavoPrivilegedHelper --version\n";
}

int runHelper(std::span<const char* const> arguments, const std::function<void(const HelperOptions&)>& serve,
              const std::function<void(const HelperOptions&)>& afterStop, const HelperGrantTasks& grants) {
    try {
        const auto options = HelperOptions::parse(arguments);
        switch (options.task) {
        case HelperOptions::Task::printHelp:
            fmt::print("{}", HelperOptions::help());
            break;
        case HelperOptions::Task::printVersion:
            fmt::print("TavoPrivilegedHelper {}\n", TAVO_VERSION);
            break;
        case HelperOptions::Task::afterStop:
            afterStop(options);
            break;
        case HelperOptions::Task::grant:
            runGrantTask(grants.grant);
            break;
        case HelperOptions::Task::revoke:
            runGrantTask(grants.revoke);
            break;
        case HelperOptions::Task::serve:
            serve(options);
            break;
        }
        return EXIT_SUCCESS;
    } catch (const HelperUsageError& error) {
        logHelper(error.description());
        return wrongUsage;
    } catch (const std::exception& error) {
        logHelper(error.what());
        return EXIT_FAILURE;
    }
}

} // namespace tavo
