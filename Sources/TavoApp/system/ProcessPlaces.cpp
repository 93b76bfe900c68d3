#include "system/ProcessPlaces.h"

#include <algorithm>

namespace tavo {

ProcessPlaces::ProcessPlaces(const std::vector<ProcessSample>& processes) {
    placeOfPID.reserve(processes.size());
    for (std::size_t place = 0; place < processes.size(); ++place) {
        placeOfPID.emplace_back(processes[place].pid, place);
    }
    // Most tables are in this order already.
    if (!std::is_sorted(placeOfPID.begin(), placeOfPID.end())) {
        std::sort(placeOfPID.begin(), placeOfPID.end());
    }
}

std::optional<std::size_t> ProcessPlaces::find(std::int32_t pid) const {
    const auto found = std::lower_bound(placeOfPID.begin(), placeOfPID.end(), std::pair(pid, std::size_t{0}));
    return found != placeOfPID.end() && found->first == pid ? std::optional(found->second) : std::nullopt;
}

} // namespace tavo
