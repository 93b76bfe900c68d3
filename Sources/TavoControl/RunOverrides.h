#pragma once

#include "base/Json.h"
#include "config/AppConfig.h"
#include "config/TavoStore.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace tavo {

/// What the options of one run put in the place of the configuration.
struct RunOverrides {
    /// Also switches on: who names a trigger wants it obeyed.
    std::optional<TriggerRule> trigger;
    std::optional<PowerSourcePolicy> powerSourcePolicy;

    /// Present and empty for "none".
    std::optional<std::optional<std::int64_t>> batteryCutoffPercent;
    std::optional<WatchMode> watchMode;

    bool operator==(const RunOverrides&) const = default;

    /// The configuration with what is present here in the place of what it holds.
    AppConfig appliedTo(AppConfig config) const;

    bool isEmpty() const;

    /// What is present, under the keys of the configuration; a null cutoff is none.
    Json json() const;

    /// Reads what json() gives. @throws DecodingError naming the key.
    static RunOverrides fromJson(const Json& value, const std::string& path = {});
};

/// Applies the overrides of one run at every load, and saves none of them.
class OverridingStore final : public TavoStoring {
public:
    OverridingStore(std::shared_ptr<const TavoStoring> store, RunOverrides overrides)
        : store(std::move(store)), overrides(std::move(overrides)) {}

    const TavoPaths& paths() const override { return store->paths(); }

    /// @throws TavoValidationError for overrides that cannot be obeyed, and what the store throws.
    AppConfig loadConfig() const override { return overrides.appliedTo(store->loadConfig()).validated(); }

    AppConfig loadConfigAsWritten() const override { return overrides.appliedTo(store->loadConfigAsWritten()); }

    /// Keeps what the file holds of everything that is overridden; of a file that cannot be read, the defaults.
    void saveConfig(const AppConfig& config) const override;

    RuntimeSnapshot loadRuntimeSnapshot() const override { return store->loadRuntimeSnapshot(); }
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const override { store->saveRuntimeSnapshot(snapshot); }

private:
    AppConfig configInFile() const;

    std::shared_ptr<const TavoStoring> store;
    RunOverrides overrides;
};

} // namespace tavo
