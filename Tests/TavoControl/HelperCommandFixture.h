#pragma once

#include "Support/ScriptedCommandRunner.h"
#include "Support/ScriptedHelperClient.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/HelperCommand.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tavo {

/// An installation in the test's own folder.
class FolderSetup final : public ScriptServiceSetup {
public:
    explicit FolderSetup(std::filesystem::path folder) : folder(std::move(folder)) {}

    std::filesystem::path helperExecutable() const override { return folder / "helper"; }
    std::filesystem::path serviceDefinition() const override { return folder / "service"; }
    std::filesystem::path makeStagingDirectory(const TavoPaths& paths) const override {
        std::filesystem::create_directories(paths.rootDirectory / "staging");
        return paths.rootDirectory / "staging";
    }
    std::filesystem::path overrideJournal() const override { return folder / "overrides.json"; }
    bool isPackaged() const override { return packaged; }
    std::string serviceDefinitionContent() const override { return "definition"; }
    std::optional<uid_t> servedUser(const std::string&) const override { return user; }
    std::string installScript(const std::filesystem::path& source, const std::filesystem::path&) const override {
        return "install " + source.string();
    }
    std::string uninstallScript() const override { return "uninstall"; }
    ShellCommand deferredUninstallCommand(std::int64_t) const override { return {}; }

    bool packaged = false;
    std::optional<uid_t> user;

private:
    std::filesystem::path folder;
};

class HelperCommandTest : public CommandTest {
protected:
    HelperCommandTest() {
        unsetenv("SUDO_UID");
        platform.commandRunner = runner;
        platform.administratorRunner = administrator;
        platform.helperClient = client;
        platform.helperSetup = setup;
        platform.findHelperSource = [this] { return source; };
        platform.sleeper = [this](std::chrono::microseconds) {
            ++pauses;
            onPause();
        };
    }

    void installFiles(const std::string& content = "program") {
        folder.write("system/helper", content);
        folder.write("system/service", "definition");
    }

    void removeFiles() const { std::filesystem::remove_all(folder.path() / "system"); }

    ExitStatus carryOut(HelperCommandOptions::Action action, bool json = false) {
        auto status = ExitStatus::wrongUsage;
        ::testing::internal::CaptureStderr();
        try {
            output =
                printed([&] { status = HelperCommand(platform, *store).carryOut({.action = action, .json = json}); });
        } catch (...) {
            errors = ::testing::internal::GetCapturedStderr();
            throw;
        }
        errors = ::testing::internal::GetCapturedStderr();
        return status;
    }

    bool isGranted() const { return store->loadConfig().closedLidPermissionGranted; }

    void grant() const {
        auto config = store->loadConfig();
        config.closedLidPermissionGranted = true;
        store->saveConfig(config);
    }

    std::shared_ptr<FolderSetup> setup = std::make_shared<FolderSetup>(folder.path() / "system");
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<ScriptedCommandRunner> administrator = std::make_shared<ScriptedCommandRunner>();
    std::shared_ptr<ScriptedHelperClient> client = std::make_shared<ScriptedHelperClient>();
    std::string output;
    std::string errors;
    std::optional<std::filesystem::path> source = folder.write("build/helper", "program");
    int pauses = 0;
    std::function<void()> onPause = [] {};
};

} // namespace tavo
