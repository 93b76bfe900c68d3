#pragma once

#include "Support/TemporaryDirectory.h"
#include "TavoPrivilegedHelper/linux/LogindSleepSetting.h"
#include "base/DescribedError.h"
#include "base/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tavo {

/// Reads drop-ins as logind does: merged in the order of their names, once it has been told to and a little time has
/// passed.
class ScriptedLidSwitch final : public LidSwitchManaging {
public:
    explicit ScriptedLidSwitch(std::filesystem::path folder) : folder(std::move(folder)) {}

    LidSwitchActions actions() const override {
        failIfTold("actions");
        return current;
    }

    void rereadConfiguration() const override {
        log.push_back("reread");
        failIfTold("reread");
        pendingTicks = ticksToReread;
    }

    FileDescriptor takeSleepLock() const override {
        log.push_back("lock");
        failIfTold("lock");
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
        lockReader = FileDescriptor(ends[0]);
        return FileDescriptor(ends[1]);
    }

    LidSituation situation() const override {
        failIfTold("situation");
        return lid;
    }

    void sleep(const std::string& action) const override { log.push_back("sleep by " + action); }

    /// Whether somebody holds the other end.
    bool isLockHeld() const {
        char byte = 0;
        return lockReader && read(lockReader.get(), &byte, 1) < 0 && errno == EAGAIN;
    }

    void tick() const {
        if (pendingTicks > 0 && --pendingTicks == 0) {
            current = merged();
        }
    }

    LidSwitchActions merged() const {
        std::map<std::string, std::string> values{{"HandleLidSwitch", "suspend"}};
        std::map<std::string, std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            files[entry.path().filename()] = entry.path();
        }
        for (const auto& [name, path] : files) {
            std::ifstream file(path);
            for (std::string line; std::getline(file, line);) {
                const auto equals = line.find('=');
                if (line.starts_with("Handle") && equals != std::string::npos) {
                    values[line.substr(0, equals)] = line.substr(equals + 1);
                }
            }
        }
        return {values["HandleLidSwitch"], values["HandleLidSwitchExternalPower"]};
    }

    void failIfTold(const std::string& call) const {
        if (call == failingCall) {
            throw DescribedError(call + " failed.");
        }
    }

    std::filesystem::path folder;
    mutable LidSwitchActions current;
    mutable std::vector<std::string> log;
    mutable FileDescriptor lockReader;
    mutable int pendingTicks = 0;
    int ticksToReread = 2;
    LidSituation lid;
    std::string failingCall;
};

/// The setting over a scripted logind, and the scopes that it was told last.
class LogindSleep : public testing::Test {
protected:
    void SetUp() override {
        logind->current = logind->merged();
        restart();
    }

    void configure(const std::string& name, const std::string& lines) {
        std::ofstream(folder.path() / name) << "[Login]\n" << lines;
        logind->current = logind->merged();
    }

    void restart() {
        setting.reset();
        scopes.clear();
        setting = std::make_unique<LogindSleepSetting>(
            logind, folder.path(), [this](const std::string& line) { lines.push_back(line); },
            [this](std::chrono::milliseconds) {
                logind->tick();
                onPause();
            },
            budget);
    }

    void begin(PMSetScope scope) {
        auto wanted = scopes;
        wanted.insert(scope);
        apply(wanted);
    }
    void end(PMSetScope scope) {
        auto wanted = scopes;
        wanted.erase(scope);
        apply(wanted);
    }
    void apply(const std::set<PMSetScope>& wanted) {
        setting->apply(wanted);
        scopes = wanted;
    }

    std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
    }

    TemporaryDirectory folder;
    std::shared_ptr<ScriptedLidSwitch> logind = std::make_shared<ScriptedLidSwitch>(folder.path());
    std::function<void()> onPause = [] {};
    std::chrono::steady_clock::time_point now;
    std::shared_ptr<TimeBudget> budget =
        std::make_shared<TimeBudget>(std::chrono::milliseconds(3000), [this] { return now; });
    std::vector<std::string> lines;
    std::set<PMSetScope> scopes;
    std::unique_ptr<LogindSleepSetting> setting;
};

} // namespace tavo
