#include "TavoControl/SettingsCommand.h"

#include "Support/DescribedJson.h"
#include "Support/ScriptedHelperClient.h"
#include "Support/ScriptedLaunchAtLogin.h"
#include "Support/WaitUntil.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/LockHolder.h"
#include "TavoControl/Settings.h"
#include "base/JsonCoding.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "login/LaunchAtLoginManaging.h"
#include "system/ProcessStart.h"

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Kind = ChangeOptions::Kind;

class SettingsCommandTest : public CommandTest {
protected:
    SettingsCommandTest() {
        platform.launchAtLogin = login;
        platform.desktopApp = "/opt/tavo/bin/tavo";
        platform.helperClient = std::make_shared<ScriptedHelperClient>();
        platform.helperSetup = std::make_shared<LaunchDaemonSetup>(
            PrivilegedHelperInstallLayout{folder.path() / "system/helper", folder.path() / "system/service"});
    }

    ExitStatus change(const ChangeOptions& options) {
        auto status = ExitStatus::wrongUsage;
        ::testing::internal::CaptureStderr();
        try {
            output = printed([&] { status = SettingsCommand(platform, *store).change(options); });
        } catch (...) {
            errors = ::testing::internal::GetCapturedStderr();
            throw;
        }
        errors = ::testing::internal::GetCapturedStderr();
        return status;
    }

    ExitStatus set(const std::string& key, const std::string& value) {
        return change({.kind = Kind::set, .key = key, .value = value});
    }

    std::string get(const std::optional<std::string>& key = {}, bool json = false) const {
        return printed([&] { SettingsCommand(platform, *store).print({.key = key, .json = json}); });
    }

    AppConfig saved() const { return store->loadConfig(); }

    /// A Tavo that evaluates when it is told to, as far as its files show.
    LockHolder runningTavo(const std::string& note = {}) const {
        return LockHolder(store->paths().lockURL(), note, [this] {
            RuntimeSnapshot snapshot;
            snapshot.isEnabled = store->loadConfig().isEnabled;
            snapshot.lastEvaluationDate = std::chrono::system_clock::now();
            snapshot.lastDecisionReason = RuntimeDecisionReason::noMatchingProcess;
            store->saveRuntimeSnapshot(snapshot);
        });
    }

    std::shared_ptr<ScriptedLaunchAtLogin> login = std::make_shared<ScriptedLaunchAtLogin>();
    std::string output;
    std::string errors;
};

TEST_F(SettingsCommandTest, TheMasterSwitchAloneIsSwitched) {
    auto config = AppConfig::defaultConfig();
    config.trigger = defaultRule(TriggerPreset::codex);
    config.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    store->saveConfig(config);
    EXPECT_EQ(change({.kind = Kind::enable}), ExitStatus::success);
    config.isEnabled = true;
    EXPECT_EQ(saved(), config);
    EXPECT_THAT(output, HasSubstr("isEnabled: false -> true\n"));
    change({.kind = Kind::disable});
    config.isEnabled = false;
    EXPECT_EQ(saved(), config);
}

TEST_F(SettingsCommandTest, TogglingDoesWhatTheButtonDoes) {
    auto config = AppConfig::defaultConfig();
    config.trigger = defaultRule(TriggerPreset::codex);
    config.powerSourcePolicy = PowerSourcePolicy::batteryOnly;
    store->saveConfig(config);
    power->status = {.source = CurrentPowerSource::ac};
    change({.kind = Kind::toggle});
    EXPECT_EQ(saved(), config.enabledForCurrentPowerSource(power->status));
    EXPECT_EQ(saved().powerSourcePolicy, PowerSourcePolicy::any);
    change({.kind = Kind::toggle});
    EXPECT_FALSE(saved().isEnabled);
    EXPECT_EQ(saved().trigger, defaultRule(TriggerPreset::always));
}

TEST_F(SettingsCommandTest, ATriggerIsPutInPlaceAndTheSwitchLeftAlone) {
    change({.kind = Kind::trigger, .trigger = defaultRule(TriggerPreset::claudeCode)});
    EXPECT_EQ(saved().trigger, defaultRule(TriggerPreset::claudeCode));
    EXPECT_FALSE(saved().isEnabled);
    EXPECT_THAT(output, HasSubstr("trigger.query: \"\" -> claude\n"));
}

TEST_F(SettingsCommandTest, ARefusedChangeLeavesTheFileAlone) {
    const std::string text = Json(AppConfig::defaultConfig()).dump();
    folder.write("config.json", text);
    EXPECT_THROW(set("batteryCutoffPercent", "0"), SettingError);
    EXPECT_THROW(set("nothing", "1"), SettingError);
    EXPECT_EQ(fileContent(store->paths().configURL()), text);
}

TEST_F(SettingsCommandTest, ABrokenFileIsNotChanged) {
    folder.write("config.json", "{");
    EXPECT_THROW(change({.kind = Kind::enable}), ConfigurationError);
    EXPECT_THROW(get(), ConfigurationError);
    EXPECT_EQ(fileContent(store->paths().configURL()), "{");
}

TEST_F(SettingsCommandTest, AnUnchangedSettingIsNotWrittenAgain) {
    const std::string text = Json(AppConfig::defaultConfig()).dump();
    folder.write("config.json", text);
    EXPECT_EQ(set("watchMode", "open"), ExitStatus::success);
    EXPECT_THAT(output, HasSubstr("nothing to change.\n"));
    EXPECT_EQ(fileContent(store->paths().configURL()), text);
}

TEST_F(SettingsCommandTest, LaunchAtLoginIsSwitchedUnderBothNames) {
    for (const bool isNamedLogin : {false, true}) {
        change({.kind = Kind::set, .key = "launchAtLoginEnabled", .value = "true", .login = isNamedLogin});
        EXPECT_EQ(login->program, "/opt/tavo/bin/tavo");
        EXPECT_TRUE(saved().launchAtLoginEnabled);
        change({.kind = Kind::set, .key = "launchAtLoginEnabled", .value = "false", .login = isNamedLogin});
        EXPECT_EQ(login->program, std::nullopt);
        EXPECT_FALSE(saved().launchAtLoginEnabled);
    }
}

TEST_F(SettingsCommandTest, TheOptionsForTheLoginOutlastLaunchAtLoginItself) {
    platform.loginOptionsFile = folder.path() / "login.conf";
    ChangeOptions on{.kind = Kind::set, .key = "launchAtLoginEnabled", .value = "true", .login = true};
    auto off = on;
    off.value = "false";
    auto onForWork = on;
    onForWork.loginOptions.emplace(WorkRequirement{.busyPercent = 3});
    change(onForWork);
    EXPECT_THAT(login->options, ::testing::ElementsAre("--while-working", "--busy", "3"));
    EXPECT_THAT(output, HasSubstr("at login the app starts with --while-working --busy 3.\n"));
    login->options.clear();
    change(off);
    change(on);
    EXPECT_THAT(login->options, ::testing::ElementsAre("--while-working", "--busy", "3"));
    on.loginOptions.emplace();
    change(on);
    EXPECT_THAT(login->options, ::testing::IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(platform.loginOptionsFile));
    // A damaged file loses the options, and the app is launched all the same.
    folder.write("login.conf", "nonsense\n");
    on.loginOptions.reset();
    change(on);
    EXPECT_THAT(login->options, ::testing::IsEmpty());
    EXPECT_EQ(fileContent(platform.loginOptionsFile), "nonsense\n");
}

TEST_F(SettingsCommandTest, AnEntryThatWasLostIsMadeAgain) {
    auto config = AppConfig::defaultConfig();
    config.launchAtLoginEnabled = true;
    store->saveConfig(config);
    change({.kind = Kind::set, .key = "launchAtLoginEnabled", .value = "true", .login = true});
    EXPECT_EQ(login->program, "/opt/tavo/bin/tavo");
}

TEST_F(SettingsCommandTest, OtherSettingsLeaveLaunchAtLoginAlone) {
    login->failure = std::make_exception_ptr(LoginLaunchManagerError::bootstrapFailed("asked."));
    EXPECT_EQ(set("watchMode", "both"), ExitStatus::success);
}

TEST_F(SettingsCommandTest, AFailedLaunchAtLoginIsNotSaved) {
    platform.desktopApp.reset();
    EXPECT_THROW(set("launchAtLoginEnabled", "true"), LoginLaunchManagerError);
    EXPECT_FALSE(saved().launchAtLoginEnabled);
}

TEST_F(SettingsCommandTest, AClosedLidWithoutAHelperIsPointedOut) {
    set("watchMode", "closed");
    EXPECT_THAT(output, HasSubstr("tavoctl helper install"));
    folder.write("system/helper", "");
    set("watchMode", "both");
    EXPECT_THAT(output, Not(HasSubstr("tavoctl helper install")));
}

TEST_F(SettingsCommandTest, WithoutARunningTavoTheNextOneStartsWithIt) {
    EXPECT_EQ(change({.kind = Kind::enable}), ExitStatus::success);
    EXPECT_THAT(output, HasSubstr("no tavo is running"));
}

TEST_F(SettingsCommandTest, WhileItIsSwitchedOffATriggerSaysHowToSwitchItOn) {
    const auto notice = HasSubstr("keeping awake is switched off (isEnabled); tavoctl enable switches it on.\n");
    const ChangeOptions preset{.kind = Kind::trigger, .trigger = defaultRule(TriggerPreset::codex)};
    change(preset);
    EXPECT_THAT(output, notice);
    set("watchMode", "open");
    EXPECT_THAT(output, notice);
    change({.kind = Kind::enable});
    EXPECT_THAT(output, Not(notice));
    change(preset);
    EXPECT_THAT(output, Not(notice));
}

TEST_F(SettingsCommandTest, ARunningTavoIsToldAndItsNewStatusIsPrinted) {
    const auto running = runningTavo();
    EXPECT_EQ(change({.kind = Kind::trigger, .trigger = defaultRule(TriggerPreset::codex)}), ExitStatus::success);
    EXPECT_THAT(output, HasSubstr("waiting for codex: starts when codex runs"));
    EXPECT_THAT(output, HasSubstr("running (process id " + std::to_string(running.pid()) + ")"));
    EXPECT_EQ(store->loadRuntimeSnapshot().lastDecisionReason, RuntimeDecisionReason::noMatchingProcess);
}

TEST_F(SettingsCommandTest, ARunningTavoThatDoesNotFollowInTimeIsSaid) {
    const LockHolder deaf(store->paths().lockURL());
    int pauses = 0;
    platform.sleeper = [&](std::chrono::microseconds time) {
        EXPECT_EQ(time, std::chrono::milliseconds{10});
        ++pauses;
    };
    EXPECT_EQ(change({.kind = Kind::enable}), ExitStatus::failure);
    EXPECT_EQ(pauses, 200);
    EXPECT_THAT(errors, HasSubstr("the change is saved, but the running tavo (process id " +
                                  std::to_string(deaf.pid()) + ") has not followed within 2 seconds"));
    EXPECT_TRUE(saved().isEnabled);
}

TEST_F(SettingsCommandTest, AStoppedTavoIsNotWaitedFor) {
    const auto stopped = runningTavo();
    kill(stopped.pid(), SIGSTOP);
    EXPECT_TRUE(waitUntil([&] { return isProcessStopped(stopped.pid()); }));
    platform.sleeper = [](std::chrono::microseconds) { ADD_FAILURE() << "waited"; };
    EXPECT_EQ(change({.kind = Kind::enable}), ExitStatus::failure);
    kill(stopped.pid(), SIGCONT);
    EXPECT_THAT(errors, HasSubstr("is stopped, and follows once it is continued: fg, or kill -CONT " +
                                  std::to_string(stopped.pid())));
    EXPECT_TRUE(saved().isEnabled);
}

TEST_F(SettingsCommandTest, AWindowWithUnsavedEditsIsNotWaitedFor) {
    const auto running = runningTavo(R"({"unsavedEdits": true})");
    platform.sleeper = [](std::chrono::microseconds) { ADD_FAILURE() << "waited"; };
    EXPECT_EQ(change({.kind = Kind::enable}), ExitStatus::success);
    EXPECT_THAT(output, HasSubstr("has unsaved edits"));
    EXPECT_TRUE(saved().isEnabled);
}

TEST_F(SettingsCommandTest, ARunWithOptionsOfItsOwnIsSaidToGoOnWithThem) {
    const auto running = runningTavo(RunOverrides{.watchMode = WatchMode::both}.json().dump());
    EXPECT_EQ(set("watchMode", "closed"), ExitStatus::success);
    EXPECT_THAT(output, HasSubstr("options that override the file: watchMode: closed -> both\n"));
}

TEST_F(SettingsCommandTest, SettingsArePrintedAsTheyAreInTheFile) {
    set("batteryCutoffPercent", "none");
    EXPECT_EQ(get("batteryCutoffPercent"), "null\n");
    EXPECT_EQ(get("trigger.preset"), "always\n");
    EXPECT_THAT(linesOf(get()), ::testing::Contains("watchMode = open"));
    EXPECT_EQ(AppConfig::fromJson(describedJson("get", get({}, true))), saved());
    EXPECT_THROW(get("nothing"), SettingError);
}

TEST_F(SettingsCommandTest, WithJsonOneSettingIsAJsonText) {
    set("batteryCutoffPercent", "none");
    EXPECT_EQ(get("watchMode", true), "\"open\"\n");
    EXPECT_EQ(get("isEnabled", true), "false\n");
    EXPECT_EQ(get("batteryCutoffPercent", true), "null\n");
    EXPECT_EQ(get("trigger.query", true), "\"\"\n");
    EXPECT_EQ(describedJson("get-key", get("trigger", true))["preset"], "always");
    set("trigger.query", "npm test");
    EXPECT_EQ(get("trigger.preset", true), "null\n");
    EXPECT_THROW(get("trigger.", true), SettingError);
    EXPECT_THROW(get("", true), SettingError);
}

TEST_F(SettingsCommandTest, AnEditMadeWhileTheLoginIsBeingSetUpIsKept) {
    login->onChange = [this] {
        auto edited = saved();
        edited.batteryCutoffPercent = 33;
        store->saveConfig(edited);
    };
    EXPECT_EQ(set("launchAtLoginEnabled", "true"), ExitStatus::success);
    EXPECT_TRUE(saved().launchAtLoginEnabled);
    EXPECT_EQ(saved().batteryCutoffPercent, 33);
    EXPECT_THAT(output, Not(HasSubstr("batteryCutoffPercent:"))) << "somebody else has changed that";
}

} // namespace
} // namespace tavo
