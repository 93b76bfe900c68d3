#include "app/LoginOptionsFile.h"

#include "base/AtomicFile.h"
#include "base/DescribedError.h"
#include "base/Duration.h"
#include "base/Text.h"

#include <fmt/format.h>

#include <system_error>

namespace tavo {

namespace {

constexpr std::size_t maxFileSize = 4096;
constexpr std::string_view firstLine = "while-working";

/// The text after the name and a space; nothing for another name.
std::optional<std::string> valueOf(std::string_view line, std::string_view name) {
    if (!line.starts_with(name) || line.size() <= name.size() + 1 || line[name.size()] != ' ') {
        return std::nullopt;
    }
    return std::string(line.substr(name.size() + 1));
}

WorkRequirement parsed(std::string_view text) {
    const auto lines = splitLines(text);
    if (lines.empty() || lines.front() != firstLine) {
        throw DescribedError(fmt::format("its first line is not \"{}\"", firstLine));
    }
    std::string busy;
    std::string grace;
    for (std::size_t index = 1; index < lines.size(); ++index) {
        if (const auto percent = valueOf(lines[index], "busy"); percent && busy.empty()) {
            busy = *percent;
        } else if (const auto duration = valueOf(lines[index], "grace"); duration && grace.empty()) {
            grace = *duration;
        } else {
            throw DescribedError(fmt::format("its line {} makes no sense", index + 1));
        }
    }
    return WorkRequirement::fromOptions(busy, grace);
}

} // namespace

std::optional<WorkRequirement> LoginOptionsFile::read() const {
    try {
        return parsed(readWholeFile(path, maxFileSize));
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) {
            return std::nullopt;
        }
        throw;
    } catch (const DescribedError& error) {
        throw DescribedError(fmt::format(
            "{} is not obeyed, since {}; tavoctl login on, with or without --while-working, writes it anew.",
            path.string(), error.description()));
    }
}

void LoginOptionsFile::write(const std::optional<WorkRequirement>& requirement) const {
    if (!requirement) {
        std::filesystem::remove(path);
        return;
    }
    std::string text(firstLine);
    text += '\n';
    if (requirement->busyPercent != WorkRequirement::defaultBusyPercent) {
        text += fmt::format("busy {}\n", busyPercentText(requirement->busyPercent));
    }
    if (requirement->grace != WorkRequirement::defaultGrace) {
        text += fmt::format("grace {}\n", formatDuration(requirement->grace));
    }
    ensureDirectoryExists(path.parent_path());
    replaceFileAtomically(path, text);
}

} // namespace tavo
