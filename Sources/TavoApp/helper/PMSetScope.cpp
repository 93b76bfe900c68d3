#include "helper/PMSetScope.h"

namespace tavo {

std::string_view pmsetFlag(PMSetScope scope) {
    switch (scope) {
    case PMSetScope::all:
        return "-a";
    case PMSetScope::ac:
        return "-c";
    case PMSetScope::battery:
        return "-b";
    }
    return {};
}

PMSetScope pmsetScope(PowerSourcePolicy policy) {
    switch (policy) {
    case PowerSourcePolicy::any:
        return PMSetScope::all;
    case PowerSourcePolicy::acOnly:
        return PMSetScope::ac;
    case PowerSourcePolicy::batteryOnly:
        return PMSetScope::battery;
    }
    return PMSetScope::all;
}

} // namespace tavo
