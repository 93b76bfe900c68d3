#include "TavoPrivilegedHelper/HelperLog.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tavo {

BoundedLog::BoundedLog(Log log, Clock clock)
    : log(std::move(log)), clock(std::move(clock)), countedFrom(this->clock()) {}

void BoundedLog::write(const std::string& line) {
    const std::lock_guard lock(mutex);
    const auto earned = (clock() - countedFrom) / interval;
    if (earned > 0) {
        allowance = std::min(burst, allowance + static_cast<std::size_t>(earned));
        countedFrom += earned * interval;
    }
    if (allowance == 0) {
        ++omitted;
        return;
    }
    --allowance;
    if (omitted > 0) {
        log(fmt::format("{} lines of this kind were left out.", std::exchange(omitted, 0)));
    }
    log(line);
}

} // namespace tavo
