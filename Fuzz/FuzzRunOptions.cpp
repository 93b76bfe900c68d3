#include "Require.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/OptionValues.h"
#include "TavoControl/RunOptionsFile.h"
#include "base/Duration.h"
#include "base/JsonCoding.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavo {
namespace {

template <typename Value>
std::string nameIn(const Choices<Value>& choices, const Value& value) {
    for (const auto& [name, choice] : choices) {
        if (choice == value) {
            return name;
        }
    }
    require(false, "every value has a name");
    return {};
}

std::string lineOf(const TriggerRule& trigger) {
    if (trigger.preset) {
        return "preset " + nameIn(presetChoices(), *trigger.preset);
    }
    const bool isName = trigger.matchStrategy == TriggerMatchStrategy::executableName;
    return (isName ? "executable " : "command ") + trigger.query;
}

/// A file with these options.
std::string written(const RunOptions& options) {
    const auto& overrides = options.overrides;
    std::string text = overrides.trigger ? lineOf(*overrides.trigger) + "\n" : "";
    text += overrides.powerSourcePolicy ? "power " + nameIn(powerChoices(), *overrides.powerSourcePolicy) + "\n" : "";
    text += overrides.watchMode ? "lid " + nameIn(lidChoices(), *overrides.watchMode) + "\n" : "";
    if (overrides.batteryCutoffPercent) {
        const auto& cutoff = *overrides.batteryCutoffPercent;
        text += "cutoff " + (cutoff ? std::to_string(*cutoff) : "none") + "\n";
    }
    if (options.whileWorking) {
        text += "while-working\n busy " + busyPercentText(options.whileWorking->busyPercent) + "\r\n\tgrace   " +
                formatDuration(options.whileWorking->grace) + "\n";
    }
    text += options.bound.length ? "for " + formatDuration(*options.bound.length) + "\n" : "";
    text += options.bound.until ? "until " + options.bound.until->text() + "\n" : "";
    return text + (options.json ? "json" : "");
}

/// A query may look quoted once white space that the file does not know is off it; the file refuses quotes.
bool looksQuoted(const RunOptions& options) {
    const auto query = options.overrides.trigger ? options.overrides.trigger->query : "";
    return query.starts_with('"') || query.starts_with('\'');
}

} // namespace
} // namespace tavo

using tavo::require;

/// Whatever a file holds, it is either options of a run, which can be written as a file of their own, or a sentence that
/// names the file and a line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > tavo::RunOptionsFile::maxSize) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const tavo::RunOptionsFile file(std::filesystem::path("/home/run.conf"));
    try {
        const auto options = file.parsed(text);
        require(!options.isService, "the file does not refer to itself");
        require(options.bound.processes.empty(), "no process id comes from a file");
        require(options.overrides.json() == file.parsed("# again\n" + std::string(text)).overrides.json(),
                "a comment changes nothing");
        if (!tavo::looksQuoted(options)) {
            const auto again = file.parsed(tavo::written(options));
            require(again.overrides == options.overrides && again.bound == options.bound &&
                        again.whileWorking == options.whileWorking && again.json == options.json,
                    "what was written reads back");
        }
    } catch (const tavo::ConfigurationError& error) {
        const auto sentence = error.description();
        require(sentence.starts_with("/home/run.conf, line "), "an error names the file and the line");
        require(sentence.ends_with('.') || sentence.ends_with('?'), "an error is a sentence");
    }
    return 0;
}
