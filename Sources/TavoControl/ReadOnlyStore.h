#pragma once

#include "config/TavoStore.h"

#include <memory>
#include <utility>

namespace tavo {

/// Reads the configuration and keeps nothing: for runs beside the one Tavo whose state the files tell.
class ReadOnlyStore final : public TavoStoring {
public:
    explicit ReadOnlyStore(std::shared_ptr<const TavoStoring> store) : store(std::move(store)) {}

    const TavoPaths& paths() const override { return store->paths(); }
    AppConfig loadConfig() const override { return store->loadConfig(); }
    AppConfig loadConfigAsWritten() const override { return store->loadConfigAsWritten(); }
    void saveConfig(const AppConfig&) const override {}
    RuntimeSnapshot loadRuntimeSnapshot() const override { return RuntimeSnapshot::idle(); }
    void saveRuntimeSnapshot(const RuntimeSnapshot&) const override {}

private:
    std::shared_ptr<const TavoStoring> store;
};

} // namespace tavo
