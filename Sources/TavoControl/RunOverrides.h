#pragma once

#include "base/Json.h"
#include "config/AppConfig.h"
#include "config/TavoStore.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace tavo {

/// The values of the configuration that the options of one run replace.
struct RunOverrides {
    /// Also switches keeping awake on: naming a trigger means using it.
    std::optional<TriggerRule> trigger;
    std::optional<PowerSourcePolicy> powerSourcePolicy;

    /// Present and empty for "none".
    std::optional<std::optional<std::int64_t>> batteryCutoffPercent;
    std::optional<WatchMode> watchMode;

    bool operator==(const RunOverrides&) const = default;

    /// The configuration with the values that are present here.
    AppConfig appliedTo(AppConfig config) const;

    bool isEmpty() const;

    /// The values that are present, under the keys of the configuration; a null cutoff means none.
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

    /// @throws TavoValidationError for invalid overrides, and the store's errors.
    AppConfig loadConfig() const override { return overrides.appliedTo(store->loadConfig()).validated(); }

    AppConfig loadConfigAsWritten() const override { return overrides.appliedTo(store->loadConfigAsWritten()); }

    /// Keeps the file's own values for everything that is overridden, or the defaults if it cannot be read.
    void saveConfig(const AppConfig& config) const override;

    RuntimeSnapshot loadRuntimeSnapshot() const override { return store->loadRuntimeSnapshot(); }
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const override { store->saveRuntimeSnapshot(snapshot); }

private:
    AppConfig configInFile() const;

    std::shared_ptr<const TavoStoring> store;
    RunOverrides overrides;
};

} // namespace tavo
