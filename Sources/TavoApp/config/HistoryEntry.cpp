#include "config/HistoryEntry.h"

#include "base/JsonCoding.h"
#include "base/Text.h"

#include <algorithm>

namespace tavo {

namespace {

/// In bytes of UTF-8, which JSON's escapes make six times as long at worst.
constexpr std::size_t maxNameLength = 30;
constexpr std::size_t maxTextLength = 100;

std::string cut(std::string_view bytes, std::size_t limit) {
    auto text = repairUTF8(bytes);
    if (text.size() > limit) {
        constexpr unsigned continuationMask = 0xC0U;
        constexpr unsigned continuation = 0x80U;
        while (limit > 0 && (static_cast<unsigned char>(text[limit]) & continuationMask) == continuation) {
            --limit; // not within a character
        }
        text.resize(limit);
    }
    return text;
}

Json asJson(const std::vector<HistoryProcess>& processes) {
    auto list = Json::array();
    for (std::size_t index = 0; index < std::min(processes.size(), HistoryEntry::maxProcesses); ++index) {
        list.push_back({{"pid", processes[index].processID}, {"name", cut(processes[index].name, maxNameLength)}});
    }
    return list;
}

void addState(Json& object, const HistoryState& state) {
    object["reason"] = rawValue(state.reason);
    object["awake"] = state.isAwake;
    object["processes"] = asJson(state.processes);
    object["held"] = cut(state.held, maxTextLength);
    if (state.isStopped) {
        object["stopped"] = true;
    }
}

HistoryState stateOf(const JsonObjectReader& reader) {
    return {.reason = reader.required<RuntimeDecisionReason>("reason"),
            .isAwake = reader.required<bool>("awake"),
            .isStopped = reader.optional<bool>("stopped").value_or(false),
            .processes = reader.required<std::vector<HistoryProcess>>("processes"),
            .held = reader.required<std::string>("held")};
}

/// Nobody has written a history before or after these: such times come from a damaged file, and arithmetic with them
/// would overflow.
TimePoint plausible(TimePoint time, const std::string& path) {
    constexpr std::chrono::sys_days earliest = std::chrono::year{2000} / 1 / 1;
    constexpr std::chrono::sys_days latest = std::chrono::year{2200} / 1 / 1;
    if (time < earliest || time > latest) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, path, "this is no time of a history.");
    }
    return time;
}

/// Of the writer as much as a reader needs on every line: the line about its start may have been rotated out.
HistoryWriter writerOf(const JsonObjectReader& reader) {
    return {.program = reader.required<std::string>("program"),
            .processID = reader.required<std::int32_t>("pid"),
            .startTime = static_cast<std::uint64_t>(reader.required<std::int64_t>("startTime")),
            .isOnlyOne = reader.optional<bool>("onlyOne").value_or(false)};
}

} // namespace

HistoryProcess HistoryProcess::fromJson(const Json& value, const std::string& path) {
    const JsonObjectReader reader(value, path);
    return {.processID = reader.required<std::int32_t>("pid"), .name = reader.required<std::string>("name")};
}

std::string HistoryEntry::line() const {
    Json object{{"event", rawValue(event)},
                {"time", formatISO8601(time)},
                {"program", cut(writer.program, maxNameLength)},
                {"pid", writer.processID},
                {"startTime", static_cast<std::int64_t>(writer.startTime)}};
    if (writer.isOnlyOne) {
        object["onlyOne"] = true;
    }
    if (event == HistoryEvent::change) {
        addState(object, state);
    }
    if (lastSeen) {
        object["lastSeen"] = formatISO8601(*lastSeen);
    }
    if (suspendedFrom) {
        object["from"] = formatISO8601(*suspendedFrom);
        object["seconds"] = suspendedSeconds;
    }
    if (!why.empty()) {
        object["why"] = cut(why, maxTextLength);
    }
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

HistoryEntry HistoryEntry::fromLine(std::string_view text) {
    const auto object = parseJson(text);
    const JsonObjectReader reader(object);
    HistoryEntry entry{.event = reader.required<HistoryEvent>("event"),
                       .time = plausible(reader.required<TimePoint>("time"), "time"),
                       .writer = writerOf(reader)};
    if (entry.event == HistoryEvent::change) {
        entry.state = stateOf(reader);
    }
    if (entry.event == HistoryEvent::suspend) {
        entry.suspendedFrom = plausible(reader.required<TimePoint>("from"), "from");
        entry.suspendedSeconds = reader.required<std::int64_t>("seconds");
    }
    if (const auto lastSeen = reader.optional<TimePoint>("lastSeen")) {
        entry.lastSeen = plausible(*lastSeen, "lastSeen");
    }
    entry.why = reader.optional<std::string>("why").value_or("");
    return entry;
}

} // namespace tavo
