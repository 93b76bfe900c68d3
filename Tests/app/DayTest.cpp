#include "app/TavoAppModelTesting.h"

#include <fmt/format.h>

namespace tavo {
namespace {

/// 24 hours of evaluations with the clock moved by hand. Records what the user would see and what is run, with the time
/// of day, whenever it changes.
class DayTest : public TavoAppModelTest {
protected:
    void begin(const AppConfig& config) {
        startWith(config);
        model->onChange([this](ModelChanges) { note(); });
        note();
    }

    /// Lets the day go on until that hour and minute.
    void until(int hour, int minute) {
        const auto time = midnight + std::chrono::hours{hour} + std::chrono::minutes{minute};
        loop->advance(std::chrono::duration_cast<std::chrono::seconds>(time - loop->now()));
    }

    void onBattery(std::int32_t percent) {
        power->status = {.source = CurrentPowerSource::battery, .batteryPercent = percent, .isCharging = false};
        reportPower();
    }
    void onMains(std::int32_t percent) {
        power->status = {.source = CurrentPowerSource::ac, .batteryPercent = percent, .isCharging = true};
        reportPower();
    }
    void reportPower() {
        powerChanges->tell();
        loop->runPosted();
    }

    static ProcessSample codex() { return {.pid = 7, .executableName = "codex", .commandLine = "codex --yes"}; }

    const TimePoint midnight = *parseISO8601("2026-01-31T00:00:00Z");
    std::vector<std::string> seen;

private:
    void note() {
        const auto copy = model->runtimeStatusCopy();
        std::string text = copy.title + ": " + copy.detail;
        if (const auto& error = model->lastError()) {
            text += " (" + *error + ")";
        }
        for (; commandsNoted < runner->log->size(); ++commandsNoted) {
            text += " | " + (*runner->log)[commandsNoted];
        }
        if (text != lastText) {
            lastText = text;
            seen.push_back(formatISO8601(loop->now()).substr(11, 5) + " " + text);
        }
    }

    std::string lastText;
    std::size_t commandsNoted = 0;
};

TEST_F(DayTest, ADayWithALaptop) {
    loop = std::make_shared<ManualMainLoop>(midnight);
    onMains(100);
    auto config = watching(TriggerPreset::codex);
    config.batteryCutoffPercent = 30;
    begin(config);

    until(8, 0);
    table->processes = {codex()};
    until(9, 30);
    onBattery(100);
    // The battery falls by one percent in six minutes, and the system reports each.
    for (int percent = 99; percent >= 28; --percent) {
        until(9, 30 + (100 - percent) * 6);
        onBattery(percent);
    }
    until(17, 0);
    onMains(29);
    until(17, 20);
    onMains(31);
    until(18, 0);
    table->processes.clear();
    until(19, 0);
    auto edited = config;
    edited.trigger = defaultRule(TriggerPreset::always);
    edited.powerSourcePolicy = PowerSourcePolicy::acOnly;
    store->saveConfig(edited);
    until(20, 0);
    onBattery(90);
    until(20, 30);
    onMains(90);
    until(21, 0);
    runner->children.back()->dieFromOutside();
    runner->failure = std::make_exception_ptr(WakeControlError::systemUnavailable("logind is gone."));
    until(21, 30);
    runner->failure = nullptr;
    until(22, 0);
    EXPECT_EQ(loop->armedTimers(), 0U) << "the loop that an error has stopped";
    onMains(91);
    until(23, 0);
    model->toggleEnabled();
    until(24, 0);
    EXPECT_EQ(loop->armedTimers(), 1U);
    model->quit();

    // A change that is not reported is seen by the next evaluation.
    const std::string start = " | start /usr/bin/caffeinate -i -s";
    const std::vector<std::string> day{
        "00:00 waiting for codex: starts when codex runs",
        "08:01 keeping computer awake: codex is running" + start,
        "08:02 keeping computer awake: codex is running",
        "09:30 keeping computer awake: codex is running | stop | start /usr/bin/caffeinate -i",
        "09:31 keeping computer awake: codex is running",
        "16:30 battery protected: battery 30% | stop",
        "16:31 battery protected: battery 30%",
        "16:36 battery protected: battery 29%",
        "16:42 battery protected: battery 28%",
        "17:00 battery protected: battery 29%",
        "17:20 keeping computer awake: codex is running" + start,
        "17:21 keeping computer awake: codex is running",
        "18:01 waiting for codex: starts when codex runs | stop",
        "18:02 waiting for codex: starts when codex runs",
        "19:01 keeping computer awake: always on" + start,
        "19:02 keeping computer awake: always on",
        "20:00 waiting for ac: plug in to start | stop",
        "20:01 waiting for ac: plug in to start",
        "20:30 keeping computer awake: always on" + start,
        "20:31 keeping computer awake: always on",
        "21:01 needs attention: logind is gone. (logind is gone.) | stop" + start,
        "22:00 keeping computer awake: always on" + start,
        "22:01 keeping computer awake: always on",
        "23:00 paused: tavo is off | stop",
        "23:01 paused: tavo is off"};
    EXPECT_EQ(seen, day);
    EXPECT_EQ(saved().lastDecisionReason, Reason::disabled);
}

} // namespace
} // namespace tavo
