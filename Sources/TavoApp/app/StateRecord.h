#pragma once

#include "config/TavoStore.h"

#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// A store that keeps the state as well as it can. Nothing is decided by the file, so a full disk must not stop the
/// evaluations: a lock would then be held that no evaluation ever releases.
class StateRecord final : public TavoStoring {
public:
    explicit StateRecord(std::shared_ptr<const TavoStoring> store) : store(std::move(store)) {}

    const TavoPaths& paths() const override { return store->paths(); }
    AppConfig loadConfig() const override { return store->loadConfig(); }
    AppConfig loadConfigAsWritten() const override { return store->loadConfigAsWritten(); }
    void saveConfig(const AppConfig& config) const override { store->saveConfig(config); }
    RuntimeSnapshot loadRuntimeSnapshot() const override { return store->loadRuntimeSnapshot(); }

    /// Never throws.
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const override;

    /// Why the last state could not be written, as a sentence for the user.
    const std::optional<std::string>& problem() const { return saveProblem; }

private:
    std::shared_ptr<const TavoStoring> store;
    mutable std::optional<std::string> saveProblem;
};

} // namespace tavo
