#pragma once

#include "base/DescribedError.h"
#include "config/TavoStore.h"

namespace tavo {

/// The configuration file cannot be used. Says which file, why, and what can be done.
class ConfigurationError final : public DescribedError {
public:
    using DescribedError::DescribedError;
};

/// Loads the configuration. @throws ConfigurationError for every failure; the file stays as it is.
AppConfig loadConfigOrExplain(const TavoStoring& store);

} // namespace tavo
