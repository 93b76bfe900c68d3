#pragma once

#include "config/TavoStore.h"

#include <cerrno>
#include <memory>
#include <system_error>

namespace tavo {

/// A store on a disk that the test can fill up.
class FailingStore final : public TavoStoring {
public:
    explicit FailingStore(std::shared_ptr<const TavoStoring> store) : store(std::move(store)) {}

    const TavoPaths& paths() const override { return store->paths(); }
    AppConfig loadConfig() const override { return store->loadConfig(); }
    AppConfig loadConfigAsWritten() const override { return store->loadConfigAsWritten(); }
    void saveConfig(const AppConfig& config) const override {
        throwIf(hasNoRoomForConfig);
        store->saveConfig(config);
    }
    RuntimeSnapshot loadRuntimeSnapshot() const override { return store->loadRuntimeSnapshot(); }
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const override {
        throwIf(hasNoRoomForState);
        store->saveRuntimeSnapshot(snapshot);
    }

    bool hasNoRoomForConfig = false;
    bool hasNoRoomForState = false;

private:
    static void throwIf(bool hasNoRoom) {
        if (hasNoRoom) {
            throw std::system_error(ENOSPC, std::generic_category(), "could not write");
        }
    }

    std::shared_ptr<const TavoStoring> store;
};

} // namespace tavo
