#pragma once

#include "system/PowerEnvironmentProviding.h"

#include <exception>
#include <functional>
#include <memory>

namespace tavo {

/// Reports a change of the power supply when the test says so.
class ScriptedPowerChanges final : public PowerChangeNotifying {
public:
    std::unique_ptr<PowerChangeWatch> watch(std::function<void()> newObserver) override {
        if (failure) {
            std::rethrow_exception(failure);
        }
        *observer = std::move(newObserver);
        return std::make_unique<Watch>(observer);
    }

    void tell() const {
        if (*observer) {
            (*observer)();
        }
    }
    bool isWatched() const { return static_cast<bool>(*observer); }

    /// Thrown by watch() while it is set.
    std::exception_ptr failure;

private:
    using Observer = std::shared_ptr<std::function<void()>>;

    class Watch final : public PowerChangeWatch {
    public:
        explicit Watch(Observer observer) : observer(std::move(observer)) {}
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch() override { *observer = nullptr; }

    private:
        Observer observer;
    };

    Observer observer = std::make_shared<std::function<void()>>();
};

} // namespace tavo
