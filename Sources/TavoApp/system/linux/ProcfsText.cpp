#include "system/linux/ProcfsText.h"

#include "base/Text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace tavo {

namespace {

constexpr std::size_t maxKernelNameLength = 15; // TASK_COMM_LEN without its NUL

template <typename Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// Takes the first field and the space after it. Absent when no space follows: the field may have been cut.
std::optional<std::string_view> takeField(std::string_view& text) {
    const auto end = text.find(' ');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const auto field = text.substr(0, end);
    text.remove_prefix(end + 1);
    return field;
}

template <typename Number>
std::optional<Number> takeNumber(std::string_view& text) {
    const auto field = takeField(text);
    return field ? wholeNumber<Number>(*field) : std::nullopt;
}

void skipFields(std::string_view& text, int count) {
    for (int field = 0; field < count; ++field) {
        takeField(text);
    }
}

/// The last ')' that a space follows.
std::size_t nameEndOf(std::string_view text) {
    if (text.empty()) {
        return std::string_view::npos;
    }
    auto length = text.size();
    // Most of the line lies behind it: memrchr() looks at many bytes at once.
    while (const auto* found = static_cast<const char*>(memrchr(text.data(), ')', length))) {
        length = static_cast<std::size_t>(found - text.data());
        if (length + 1 < text.size() && found[1] == ' ') {
            return length;
        }
    }
    return std::string_view::npos;
}

/// The fields after the name. The name may itself hold ')' and spaces, so the fixed fields start after the last one.
std::optional<std::string_view> fieldsAfterName(std::string_view text) {
    const auto nameStart = text.find(" (");
    const auto nameEnd = nameEndOf(text);
    if (nameStart == std::string_view::npos || nameEnd == std::string_view::npos || nameEnd < nameStart + 2) {
        return std::nullopt;
    }
    return text.substr(nameEnd + 2);
}

/// The arguments without the NULs at the end, which processes that shorten their title leave behind.
std::string_view withoutPadding(std::string_view cmdline) {
    return cmdline.substr(0, cmdline.find_last_not_of('\0') + 1);
}

/// Where the word that begins at `start` ends.
std::size_t wordEnd(std::string_view argument, std::size_t start, bool isOnlyArgument) {
    return isOnlyArgument ? std::min(argument.find(' ', start + maxKernelNameLength), argument.size())
                          : argument.size();
}

/// The base name in the first argument that begins with the cut name; the cut name itself where there is none.
std::string_view completed(std::string_view name, std::string_view cmdline) {
    const auto arguments = withoutPadding(cmdline);
    const auto argument = arguments.substr(0, arguments.find('\0'));
    const bool isOnlyArgument = argument.size() == arguments.size();
    for (auto start = argument.find(name); start != std::string_view::npos; start = argument.find(name, start + 1)) {
        const auto word = argument.substr(start, wordEnd(argument, start, isOnlyArgument) - start);
        const bool startsComponent = start == 0 || argument[start - 1] == '/';
        if (startsComponent && word.find('/') == std::string_view::npos) {
            return word;
        }
    }
    return name;
}

} // namespace

std::optional<ProcfsStat> parseProcfsStat(std::string_view text) {
    const auto fields = fieldsAfterName(text);
    if (!fields) {
        return std::nullopt;
    }
    const auto nameStart = text.find(" (");
    const auto nameEnd = text.size() - fields->size() - 2;
    const auto pid = wholeNumber<std::int32_t>(text.substr(0, nameStart));
    auto rest = *fields;
    const auto state = takeField(rest);
    const auto parentPID = takeNumber<std::int32_t>(rest);
    // From the process group up to the page faults of waited-for children.
    skipFields(rest, 9);
    const auto userTicks = takeNumber<std::uint64_t>(rest);
    const auto systemTicks = takeNumber<std::uint64_t>(rest);
    // The times of waited-for children, the priority and the nice value.
    skipFields(rest, 4);
    const auto threadCount = takeNumber<std::int64_t>(rest);
    if (!pid || *pid <= 0 || !state || state->size() != 1 || !parentPID || !userTicks || !systemTicks || !threadCount) {
        return std::nullopt;
    }
    return ProcfsStat{.pid = *pid,
                      .parentPID = *parentPID,
                      .state = state->front(),
                      .threadCount = *threadCount,
                      .userTicks = *userTicks,
                      .systemTicks = *systemTicks,
                      .name = text.substr(nameStart + 2, nameEnd - nameStart - 2)};
}

std::optional<std::uint64_t> procfsStartTicks(std::string_view text) {
    auto fields = fieldsAfterName(text);
    if (!fields) {
        return std::nullopt;
    }
    // From the state up to what has been an interval timer.
    skipFields(*fields, 19);
    return takeNumber<std::uint64_t>(*fields);
}

std::string_view procfsCommandLine(std::string_view cmdline, std::string& buffer) {
    repairUTF8(withoutPadding(cmdline), buffer);
    std::replace(buffer.begin(), buffer.end(), '\0', ' ');
    return trimWhitespace(buffer);
}

std::string_view procfsExecutableName(std::string_view name, std::string_view cmdline, std::string& buffer) {
    repairUTF8(name.size() == maxKernelNameLength ? completed(name, cmdline) : name, buffer);
    return trimWhitespace(buffer);
}

} // namespace tavo
