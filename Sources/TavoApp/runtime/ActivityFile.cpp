#include "runtime/ActivityFile.h"

#include "base/AtomicFile.h"
#include "base/JsonCoding.h"
#include "config/InstanceLock.h"
#include "system/ProcessStart.h"

#include <unistd.h>

#include <system_error>

namespace tavo {

namespace {

/// Far more than any list of matched processes needs.
constexpr std::size_t largestActivity = std::size_t{1} << 20U;

/// As a text, since it is a number of 64 bits that not every reader of JSON keeps whole.
std::string startOf(pid_t process) {
    const auto start = processStart(process);
    return start ? std::to_string(*start) : std::string();
}

} // namespace

void ActivityFile::write(const WorkActivity& activity) const {
    Json json = activity;
    json["processID"] = getpid();
    json["processStart"] = startOf(getpid());
    replaceFileAtomically(path(), prettyJson(json));
}

void ActivityFile::remove() const noexcept {
    std::error_code ignored;
    std::filesystem::remove(path(), ignored);
}

std::optional<WorkActivity> ActivityFile::readOfRunningTavo() const noexcept {
    try {
        const auto holder = InstanceLock::holder(paths.lockURL());
        if (!holder) {
            return std::nullopt;
        }
        const auto json = parseJson(readWholeFile(path(), largestActivity));
        const JsonObjectReader reader(json);
        const auto start = startOf(*holder);
        if (reader.required<std::int32_t>("processID") != *holder || start.empty() ||
            reader.required<std::string>("processStart") != start) {
            return std::nullopt;
        }
        return WorkActivity::fromJson(json);
    } catch (const std::exception&) {
        // Nothing depends on it: it is there for the user to read.
        return std::nullopt;
    }
}

} // namespace tavo
