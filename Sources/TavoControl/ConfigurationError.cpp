#include "TavoControl/ConfigurationError.h"

#include "base/ErrorText.h"

#include <fmt/format.h>

namespace tavo {

AppConfig loadConfigOrExplain(const TavoStoring& store) {
    try {
        return store.loadConfig();
    } catch (const std::exception& error) {
        throw ConfigurationError(fmt::format("the configuration {} cannot be used: {}; mend it, or move the file away "
                                             "to start from the defaults.",
                                             store.paths().configURL().string(), errorClause(error)));
    }
}

} // namespace tavo
