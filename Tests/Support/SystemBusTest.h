#pragma once

#include "Support/PrivateBus.h"
#include "Support/ScriptedBusService.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <optional>
#include <string>

namespace tavo {

/// A test with a system bus of its own.
class SystemBusTest : public ::testing::Test {
protected:
    SystemBusTest() {
        if (const char* address = std::getenv(variable)) {
            addressBefore = address;
        }
        bus.start();
        setenv(variable, bus.address().c_str(), 1);
    }
    void TearDown() override {
        if (addressBefore) {
            setenv(variable, addressBefore->c_str(), 1);
        } else {
            unsetenv(variable);
        }
    }

    ScriptedBusService& startService(const std::string& name = "org.freedesktop.login1") {
        service.emplace(pump, bus.address());
        service->own(name);
        return *service;
    }

    /// Calls on another thread while the services answer on this one.
    template <typename Call>
    auto answered(Call call) {
        auto answer = std::async(std::launch::async, std::move(call));
        EXPECT_TRUE(pump.until([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }

    static constexpr const char* variable = "DBUS_SYSTEM_BUS_ADDRESS";
    std::optional<std::string> addressBefore;
    PrivateBus bus;
    BusPump pump;
    std::optional<ScriptedBusService> service;
};

} // namespace tavo
