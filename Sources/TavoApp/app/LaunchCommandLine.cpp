#include "app/LaunchCommandLine.h"

#include "app/CommandLineHelp.h"
#include "base/NearestWord.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cctype>

namespace tavo {

namespace {

class LaunchParser {
public:
    LaunchParser() {
        app.set_help_flag("-h,--help", "print this help");
        app.add_flag("--while-working", isWhileWorking,
                     "with a process trigger, stay awake only while a matched program works")
            ->disable_flag_override();
        app.add_option("--busy", busy, "the share of a core above which it counts as working; 1 by default")
            ->type_name("PERCENT");
        app.add_option("--grace", grace, "how long to go on after the last work: 90s, 45m, 2h, 0; 10m by default")
            ->type_name("DURATION");
        app.add_flag("--hidden", options.isHidden, "start without opening the window");
        app.add_flag("--settings", showsSettings, "show the settings, of the tavo that is running if there is one")
            ->disable_flag_override();
        app.add_flag("--enable", enables, "do what the button \"enable\" does; start tavo if none is running")
            ->disable_flag_override();
        app.add_flag("--pause", pauses, "do what the button \"pause\" does")->disable_flag_override();
        app.add_option("--root", options.root, "the folder of config.json and state.json, instead of the default one")
            ->type_name("DIR");
        app.footer("Example: tavo --hidden --while-working");
    }

    std::variant<LaunchOptions, LaunchReply> parse(int count, const char* const* values, const std::string& version) {
        app.set_version_flag("--version", "tavo " + version, "print the version");
        try {
            app.parse(count, values);
            options.whileWorking = requirement();
            options.action = action();
            return options;
        } catch (const CLI::CallForVersion& request) {
            return LaunchReply{.text = std::string(request.what()) + "\n"};
        } catch (const CLI::CallForHelp&) {
            return LaunchReply{.text = helpText(app)};
        } catch (const CLI::ExtrasError& error) {
            const auto unplaced = unplacedArgument(app);
            return refusal(error.what(), unplaced ? nearestOption(app, unplaced->text) : std::nullopt);
        } catch (const CLI::ParseError& error) {
            return refusal(error.what());
        } catch (const WorkRequirementError& error) {
            return refusal(error.description());
        }
    }

    CLI::App app{"keeps this computer awake on your terms; tavoctl is its companion in a terminal", "tavo"};

private:
    /// @throws CLI::ParseError
    RequestedAction action() const {
        if (app.count("--settings") + app.count("--enable") + app.count("--pause") > 1) {
            throw CLI::ParseError("only one of --settings, --enable and --pause may be given",
                                  CLI::ExitCodes::ExcludesError);
        }
        if (showsSettings && options.isHidden) {
            throw CLI::ParseError("--settings shows the window, and --hidden does not", CLI::ExitCodes::ExcludesError);
        }
        if (showsSettings) {
            return RequestedAction::showSettings;
        }
        if (enables) {
            return RequestedAction::enable;
        }
        return pauses ? RequestedAction::pause : RequestedAction::showWindow;
    }

    static LaunchReply refusal(std::string text, const std::optional<std::string>& nearest = {}) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
        return {.text = text + (nearest ? didYouMean(nearest) : "; tavo --help lists what there is."), .isError = true};
    }

    /// @throws WorkRequirementError
    std::optional<WorkRequirement> requirement() const {
        const bool hasBusy = app.count("--busy") > 0;
        const bool hasGrace = app.count("--grace") > 0;
        if (isWhileWorking) {
            return WorkRequirement{.busyPercent =
                                       hasBusy ? parseBusyPercent(busy) : WorkRequirement::defaultBusyPercent,
                                   .grace = hasGrace ? parseGrace(grace) : WorkRequirement::defaultGrace};
        }
        if (hasBusy || hasGrace) {
            throw WorkRequirementError(fmt::format("{} needs --while-working", hasBusy ? "--busy" : "--grace"));
        }
        return std::nullopt;
    }

    LaunchOptions options;
    bool showsSettings = false;
    bool enables = false;
    bool pauses = false;
    bool isWhileWorking = false;
    std::string busy;
    std::string grace;
};

} // namespace

std::variant<LaunchOptions, LaunchReply> parseLaunchCommandLine(int count, const char* const* values,
                                                                const std::string& version) {
    return LaunchParser().parse(count, values, version);
}

void inspectLaunchCommandLine(const std::function<void(const CLI::App&)>& visit) {
    LaunchParser parser;
    parser.app.set_version_flag("--version", "tavo", "print the version");
    visit(parser.app);
}

} // namespace tavo
