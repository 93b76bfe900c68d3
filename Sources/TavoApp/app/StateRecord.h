#pragma once

#include "config/TavoStore.h"

#include <memory>
#include <optional>
#include <string>

namespace tavo {

/// A store that can keep the state as well as it can. Nothing is decided by the file, so a full disk need not stop the
/// evaluations: a lock would then be held that no evaluation releases.
class StateRecord final : public TavoStoring {
public:
    enum class Failures { stopTheCaller, areRemembered };

    StateRecord(std::shared_ptr<const TavoStoring> store, Failures failures)
        : store(std::move(store)), failures(failures) {}

    const TavoPaths& paths() const override { return store->paths(); }
    AppConfig loadConfig() const override { return store->loadConfig(); }
    AppConfig loadConfigAsWritten() const override { return store->loadConfigAsWritten(); }
    void saveConfig(const AppConfig& config) const override { store->saveConfig(config); }
    RuntimeSnapshot loadRuntimeSnapshot() const override { return store->loadRuntimeSnapshot(); }

    /// Throws only with Failures::stopTheCaller.
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const override;

    /// The same for a snapshot that is shown whether it is saved or not. Never throws.
    void note(const RuntimeSnapshot& snapshot) const noexcept;

    /// Why the last state could not be written, as a sentence for the user.
    const std::optional<std::string>& problem() const { return saveProblem; }

private:
    std::shared_ptr<const TavoStoring> store;
    Failures failures;
    mutable std::optional<std::string> saveProblem;
};

} // namespace tavo
