#include "TavoControl/RunOptionsFile.h"

#include "TavoControl/ExitStatus.h"
#include "base/AtomicFile.h"
#include "base/ErrorText.h"
#include "base/Text.h"
#include "base/TrustedPath.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace tavo {

namespace {

/// An option as the command line takes it.
struct OptionLine {
    std::size_t number = 0;
    std::string argument;
};

/// A mistake in one line; the description goes on after the file's name and the line's number.
class LineError final : public DescribedError {
public:
    LineError(std::size_t line, const std::string& description) : DescribedError(description), line(line) {}

    std::size_t line;
};

/// Options of a run that make no sense in a file, each with the reason.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> excludedOptions{{
    {"root", "the folder is where this file was found; name another one where tavoctl is started."},
    {"pid", "a process id means another process at the next start; use executable or command."},
    {"service", "these options are the service's already."},
    {"help", "it is for the command line; tavoctl run --help lists the options."},
}};

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool isPlainText(std::string_view line) {
    const auto isControl = [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return (byte < 0x20 && character != '\t') || byte == 0x7F;
    };
    return repairUTF8(line) == line && std::none_of(line.begin(), line.end(), isControl);
}

bool isOptionName(std::string_view name) {
    return name.front() >= 'a' && name.front() <= 'z' && std::all_of(name.begin(), name.end(), [](char character) {
               return (character >= 'a' && character <= 'z') || character == '-';
           });
}

bool isQuoted(std::string_view value) {
    return value.size() >= 2 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'');
}

/// @param content  without white space at its ends, and not empty.
std::string argumentOf(std::string_view content, std::size_t number) {
    const auto end = std::min(content.find_first_of(" \t"), content.size());
    const auto name = content.substr(0, end);
    const auto value = trimmed(content.substr(end));
    if (!isOptionName(name)) {
        throw LineError(number, fmt::format("\"{}\" is no option's name; write an option without hyphens, and its "
                                            "value after a space, as in preset claudeCode.",
                                            name));
    }
    for (const auto& [excluded, reason] : excludedOptions) {
        if (name == excluded) {
            throw LineError(number, fmt::format("{} has no place in this file: {}", name, reason));
        }
    }
    if (isQuoted(value)) {
        throw LineError(number, fmt::format("the value {} needs no quotes, which would be a part of it.", value));
    }
    return value.empty() ? fmt::format("--{}", name) : fmt::format("--{}={}", name, value);
}

std::vector<OptionLine> optionLines(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    std::vector<OptionLine> options;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const auto end = std::min(text.find('\n'), text.size());
        const auto content = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!isPlainText(content)) {
            throw LineError(number, "it holds bytes that are no utf-8 text; write it anew.");
        }
        if (content.empty() || content.front() == '#') {
            continue;
        }
        if (options.size() == RunOptionsFile::maxOptions) {
            throw LineError(number, fmt::format("there are more than {} options, which no run has; remove some.",
                                                RunOptionsFile::maxOptions));
        }
        options.push_back({number, argumentOf(content, number)});
    }
    return options;
}

using Options = std::vector<OptionLine>;

std::variant<Invocation, UsageReply> parse(Options::const_iterator first, Options::const_iterator last) {
    std::vector<const char*> values{"tavoctl", "run"};
    for (; first != last; ++first) {
        values.push_back(first->argument.c_str());
    }
    return parseCommandLine(static_cast<int>(values.size()), values.data());
}

/// The sentence with which options are refused; nothing when they are taken.
std::optional<std::string> refusalOf(Options::const_iterator first, Options::const_iterator last) {
    const auto answer = parse(first, last);
    const auto* const usage = std::get_if<UsageReply>(&answer);
    return usage != nullptr ? std::optional(usage->text) : std::nullopt;
}

/// The line that a refusal of all options speaks of: the first that is refused in the same words by itself. Two lines
/// that exclude each other are fine by themselves; then it is the one that completes the contradiction.
LineError mistakeIn(const Options& options, const std::string& sentence) {
    for (auto line = options.begin(); line != options.end(); ++line) {
        if (refusalOf(line, line + 1) == sentence) {
            return LineError(line->number, sentence);
        }
    }
    auto last = options.begin();
    while (last != options.end() && refusalOf(options.begin(), last + 1) != sentence) {
        ++last;
    }
    return LineError((last == options.end() ? options.back() : *last).number, sentence);
}

RunOptions parsedOptions(std::string_view text) {
    const auto options = optionLines(text);
    auto answer = parse(options.begin(), options.end());
    if (const auto* const usage = std::get_if<UsageReply>(&answer)) {
        throw mistakeIn(options, usage->text);
    }
    return std::get<RunOptions>(std::get<Invocation>(std::move(answer)).command);
}

std::string contentOf(const std::filesystem::path& file) {
    try {
        return readWholeFile(file, RunOptionsFile::maxSize);
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::file_too_large) {
            throw;
        }
        throw ConfigurationError("the file is larger than 4 KiB, which no list of options is");
    }
}

} // namespace

RunOptions RunOptionsFile::parsed(std::string_view text) const {
    try {
        return parsedOptions(text);
    } catch (const LineError& error) {
        throw ConfigurationError(fmt::format("{}, line {}: {}", path.string(), error.line, error.description()));
    }
}

RunOptions RunOptionsFile::read() const {
    const auto place = trustedFile(path);
    std::string text;
    try {
        // A link that leads nowhere is a mistake, and not the wish for no options.
        if (std::filesystem::symlink_status(path).type() == std::filesystem::file_type::not_found) {
            return {};
        }
        text = contentOf(place);
    } catch (const std::exception& error) {
        throw ConfigurationError(fmt::format("the options in {} cannot be used: {}; fix the file, or move it away to "
                                             "run by config.json alone.",
                                             path.string(), errorClause(error)));
    }
    return parsed(text);
}

} // namespace tavo
