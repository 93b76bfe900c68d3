#include "TavoControl/ExecCommand.h"

#include "TavoControl/CommandChild.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/RunEnd.h"
#include "TavoControl/SignalForwarding.h"
#include "TavoControl/SystemChecks.h"
#include "app/AsioMainLoop.h"
#include "app/ProcessSignals.h"
#include "app/TavoAppModel.h"
#include "base/ErrorText.h"
#include "base/Text.h"
#include "system/SuspendedTime.h"

#include <fmt/format.h>

#include <csignal>
#include <system_error>

namespace tavo {

namespace {

/// A lock that could not be taken while the command runs is tried again this much later.
constexpr double retryInterval = AppConfig::fixedPollIntervalSeconds;

/// Reads the configuration and saves nothing: the files belong to the one Tavo that may be running.
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

/// One command, and the evaluations while it runs.
class CommandRun final : private ApplicationControlling {
public:
    CommandRun(const ExecOptions& options, std::shared_ptr<const TavoStoring> store, Platform platform,
               const InheritedConditions& conditions)
        : words(options.words), requestedBound(options.bound), conditions(conditions),
          machineNoun(platform.machineNoun),
          model(TavoAppModel::make(loop, std::make_shared<OverridingStore>(std::move(store), options.overrides),
                                   std::move(platform), *this)),
          signals(conditions, [this](int signal) { loop->post([this, signal] { forward(signal); }); }) {}

    int run() {
        model->onChange([this](ModelChanges) { follow(); });
        loop->handleSignals({SIGCHLD}, [this](int) { followCommand(); });
        loop->post([this] { begin(); });
        loop->run();
        return status;
    }

private:
    void orderOutKeyWindow() override {}
    std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel&) override { return nullptr; }
    void terminate() override {
        // The model also quits when the time is up, and the command runs on.
        if (hasEnded) {
            loop->stop();
        }
    }

    void begin() {
        model->evaluateNow();
        if (const auto failure = model->evaluationFailure()) {
            const auto text = model->runtimeSnapshot().lastError.value_or("the evaluation failed.");
            printError("tavoctl: {}{}\n", visibleControls(text), adviceFor(failure));
            end(static_cast<int>(exitStatusOf(failure)));
            return;
        }
        if (const auto signal = signals.endingSignal()) {
            // The command was not there to receive it.
            end(128 + *signal);
            return;
        }
        try {
            command.emplace(words, conditions);
        } catch (const std::system_error& error) {
            const int failure = statusOfUnstartable(error.code().value());
            printError("tavoctl: {}: {}\n", visibleControls(words.front()),
                       failure == 127 ? "command not found" : visibleControls(error.code().message()));
            end(failure);
            return;
        }
        bound.emplace(
            requestedBound, std::vector<WatchedProcess>(), loop, nullptr,
            [this](const std::string& why) { endKeepingAwake(why); }, timeSinceStart);
        follow();
    }

    void end(int withStatus) {
        hasEnded = true;
        status = withStatus;
        if (isTimeUp) {
            loop->stop();
        } else {
            model->quit();
        }
    }

    /// The user has bounded how long this computer is kept awake, not how long the command runs.
    void endKeepingAwake(const std::string& why) {
        if (hasEnded) {
            return;
        }
        isTimeUp = true;
        retry.reset();
        model->quitBecause(why);
        say(fmt::format("{}: this {} is no longer kept awake; {} runs on.", why, machineNoun, words.front()));
    }

    void forward(int signal) {
        if (command) {
            command->signal(signal);
        }
    }

    void followCommand() {
        while (!hasEnded && command) {
            const auto event = command->nextEvent();
            if (!event) {
                return;
            }
            switch (event->change) {
            case CommandChild::Change::exited:
                end(event->status);
                return;
            case CommandChild::Change::stopped:
                pause(event->status);
                break;
            case CommandChild::Change::continued:
                resume();
                break;
            }
        }
    }

    /// A stopped command does nothing that needs the computer awake.
    void pause(int signal) {
        if (!isPaused) {
            isPaused = true;
            retry.reset();
            if (!isTimeUp && !model->releaseEverything()) {
                say(fmt::format("{} is stopped, but not everything could be released: {}", words.front(),
                                model->lastError().value_or("the helper does not answer.")));
            }
        }
        // The shell waits for this process and not for the command, so this one stops too. SIGSTOP comes from another
        // process and not from the terminal, and that process will continue the command alone.
        if (signal != SIGSTOP && !hasBeenContinued()) {
            stopUntilContinued();
            command->signal(SIGCONT);
        }
    }

    /// Whether it was continued before this process could stop itself, which nobody would continue then.
    bool hasBeenContinued() {
        while (const auto event = command->nextEvent()) {
            if (event->change == CommandChild::Change::exited) {
                end(event->status);
                return true;
            }
            if (event->change == CommandChild::Change::continued) {
                resume();
                return true;
            }
        }
        return false;
    }

    void resume() {
        if (!isPaused) {
            return;
        }
        isPaused = false;
        bound->check();
        if (!isTimeUp) {
            model->evaluateNow();
        }
    }

    void follow() {
        if (hasEnded || isPaused || isTimeUp || !command) {
            return;
        }
        if (bound) {
            bound->check();
        }
        if (isTimeUp) {
            return;
        }
        if (model->evaluationFailure()) {
            tell("failure", model->runtimeSnapshot().lastError.value_or("the evaluation failed."));
            retry = loop->startTimer(retryInterval, [this] { model->evaluateNow(); });
            return;
        }
        retry.reset();
        const auto& snapshot = model->runtimeSnapshot();
        if (snapshot.isWakeAssertionActive || model->hasLostAssertion()) {
            // A lost one is taken again within seconds.
            tell("notice", model->assertionNotice().value_or(""));
            return;
        }
        const auto copy = model->runtimeStatusCopy();
        // The detail has the battery's percentage in it, which changes.
        tell(rawValue(snapshot.lastDecisionReason), fmt::format("{} runs, but this {} is not kept awake: {} ({}).",
                                                                words.front(), machineNoun, copy.title, copy.detail));
    }

    /// Says it once while the reason stays the same.
    void tell(std::string_view reason, const std::string& text) {
        auto current = text.empty() ? std::string() : std::string(reason);
        if (reason == "failure" || reason == "notice") {
            current += text;
        }
        if (current == told) {
            return;
        }
        told = std::move(current);
        if (!text.empty()) {
            say(text);
        }
    }

    static void say(const std::string& text) { printError("tavoctl: {}\n", visibleControls(text)); }

    std::vector<std::string> words;
    RunBound requestedBound;
    const InheritedConditions& conditions;
    std::string machineNoun;
    std::shared_ptr<AsioMainLoop> loop = std::make_shared<AsioMainLoop>();
    std::shared_ptr<TavoAppModel> model;
    std::unique_ptr<MainLoopTimer> retry;
    std::optional<CommandChild> command;
    std::string told;
    int status = 0;
    std::optional<RunEnd> bound;
    bool isPaused = false;
    bool isTimeUp = false;
    bool hasEnded = false;

    /// Last, so that nothing is forwarded while the rest is being destroyed.
    SignalForwarding signals;
};

} // namespace

int runCommandAwake(const ExecOptions& options, const std::shared_ptr<const TavoStoring>& store, Platform platform,
                    const InheritedConditions& conditions) {
    if (const auto shortage = openFilesShortage()) {
        printError("tavoctl: {}; raise the limit, with ulimit -n or where this is started.\n", *shortage);
        return static_cast<int>(ExitStatus::failure);
    }
    loadConfigOrExplain(*store);
    // The one Tavo of this user ends its own orphans.
    platform.endOrphanedAssertion = nullptr;
    platform.history = makeHistory(
        store->paths(), std::filesystem::path(options.words.front()).filename().string(),
        [](const std::string& text) { printError("tavoctl: {}\n", visibleControls(text)); }, false);
    platform.assertionRunner = platform.tiedAssertionRunner;
    // A write to a terminal that stops background writers would stop this process with its lock held.
    std::signal(SIGTTOU, SIG_IGN);
    return CommandRun(options, std::make_shared<ReadOnlyStore>(store), std::move(platform), conditions).run();
}

} // namespace tavo
