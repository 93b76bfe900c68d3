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

} // namespace tavo
