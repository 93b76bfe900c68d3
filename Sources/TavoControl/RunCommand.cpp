#include "TavoControl/RunCommand.h"

#include "TavoControl/Console.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/RunEnd.h"
#include "TavoControl/RunReport.h"
#include "TavoControl/StatusReport.h"
#include "TavoControl/SystemChecks.h"
#include "app/AsioMainLoop.h"
#include "app/ProcessSignals.h"
#include "app/TavoAppModel.h"
#include "base/ErrorText.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "config/InstanceLock.h"
#include "system/SuspendedTime.h"

#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>

namespace tavo {

namespace {

/// For the status command: neither the configuration file nor the system's list shows which options replace the file
/// and what the desktop refused.
std::string noteOf(const RunOptions& options, const std::optional<std::string>& assertionNotice = std::nullopt) {
    auto note = options.overrides.json();
    if (options.whileWorking) {
        note[WorkRequirement::noteKey] = *options.whileWorking;
    }
    if (assertionNotice) {
        note[InstanceLock::assertionNoticeKey] = *assertionNotice;
    }
    return note.empty() ? "" : note.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// One run of the evaluations, without a window.
class ForegroundRun final : private ApplicationControlling {
public:
    /// @param processes  the bound's processes.
    /// @param lock  outlives this.
    ForegroundRun(const RunOptions& options, std::vector<WatchedProcess> processes,
                  std::shared_ptr<const TavoStoring> store, Platform platform, const InstanceLock& lock,
                  ServiceNotification notification)
        : options(options), processes(std::move(processes)), exits(platform.processExits), lock(lock),
          store(std::make_shared<OverridingStore>(std::move(store), options.overrides)),
          assertionStatus(platform.assertionStatus), assertionRunner(platform.assertionRunner),
          wakePlanBuilder(platform.wakePlanBuilder), seemsWithoutMeans(platform.seemsWithoutMeans),
          report(Console(stdout), options.json), notification(std::move(notification)),
          model(TavoAppModel::make(loop, this->store, std::move(platform), *this, options.whileWorking)) {}

    ExitStatus run() {
        model->onChange([this](ModelChanges) {
            publishAssertionNotice();
            show();
            if (end) {
                end->check();
            }
        });
        loop->post([this] { begin(); });
        loop->run();
        return status;
    }

    void handleSignals() {
        loop->handleSignals(quittingSignals(), [this](int) { quit(); });
        loop->handleSignals(stoppingSignals(), [this](int) { stop(); });
        // There is no window to show here, so the request for one is taken and dropped.
        loop->handleSignals({SIGUSR1, SIGUSR2}, [this](int signal) {
            if (signal == SIGUSR1) {
                model->refresh();
            }
        });
        readerWatch.emplace(STDOUT_FILENO, [this] { loop->post([this] { quit(); }); });
    }

private:
    void orderOutKeyWindow() override {}
    std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel&) override { return nullptr; }
    void terminate() override { loop->stop(); }

    void begin() {
        end.emplace(
            options.bound, processes, loop, exits, [this](const std::string& why) { endBecause(why); }, timeSinceStart);
        model->evaluateNow();
        hasBegun = true;
        if (!model->evaluationFailure() && model->config().isEnabled &&
            !model->runtimeSnapshot().isWakeAssertionActive) {
            tryLock();
        }
        show();
        if (!hasEnded) {
            notification.ready();
        }
    }

    /// A run that only waits would otherwise find out hours later, when its process has come and its user has gone,
    /// that this system grants no lock. A lock is tried only where that seems so, to learn the reason: other programs
    /// see the locks that are taken.
    void tryLock() {
        if (!seemsWithoutMeans || !seemsWithoutMeans()) {
            return;
        }
        auto config = model->config();
        config.watchMode = WatchMode::open; // the helper says for itself whether it is there
        try {
            const auto plan = wakePlanBuilder.buildPlan(config, model->powerStatus(), false);
            assertionRunner->start(plan.standardAssertionCommand)->stop();
        } catch (const std::exception& error) {
            fail(std::current_exception(), errorText(error));
        }
    }

    void publishAssertionNotice() {
        const auto current = model->assertionNotice();
        if (current == publishedAssertionNotice) {
            return;
        }
        publishedAssertionNotice = current;
        try {
            lock.replaceNote(noteOf(options, current));
        } catch (const std::exception&) {
            // Only what tavoctl status says of this run depends on it.
        }
    }

    void show() {
        if (hasEnded || !hasBegun || isQuitting || isStopping) {
            return;
        }
        if (model->evaluationFailure() && !model->isTryingAgain()) {
            fail(model->evaluationFailure(), model->runtimeSnapshot().lastError.value_or("the evaluation failed."));
            return;
        }
        const auto& snapshot = model->runtimeSnapshot();
        const RuntimeStatusCopy stopped{"stopped", "nothing is kept awake until this run is continued"};
        const auto copy = isStopped ? stopped
                          : model->hasLostAssertion() || model->isTryingAgain()
                              ? RuntimeStatusCopy{"not awake", "the lock was lost and is being taken again"}
                              : model->runtimeStatusCopy();
        const RunLine line{.reason = snapshot.lastDecisionReason,
                           .title = copy.title,
                           .detail = copy.detail,
                           .held = assertionStatus->summary(),
                           .matchedProcesses = snapshot.matchedProcesses,
                           .work = currentWork(),
                           .notice = notice(),
                           .bound = end->text(),
                           .until = end->deadline()};
        notification.status(line.plainText());
        try {
            report.update(line, model->configFileError(), loop->now());
        } catch (const OutputError& error) {
            if (error.isReaderGone()) {
                quit();
            } else {
                fail(std::current_exception(), errorText(error));
            }
        }
    }

    /// Only while the lock is held: otherwise the reason says enough.
    std::optional<RunLine::Work> currentWork() const {
        const auto activity = model->workActivity();
        if (!activity || isStopped || model->runtimeSnapshot().lastDecisionReason != RuntimeDecisionReason::active) {
            return std::nullopt;
        }
        return RunLine::Work{.isWorking = activity->isWorking(), .text = activity->text(loop->now())};
    }

    std::optional<std::string> notice() const {
        // Whoever starts this by hand expects something to be kept awake.
        if (!isStopped && model->runtimeSnapshot().lastDecisionReason == RuntimeDecisionReason::disabled) {
            return fmt::format("{}. for one run alone, name a trigger, as in tavoctl run --always", switchedOffNotice);
        }
        if (const auto notice = model->assertionNotice()) {
            return notice;
        }
        // A state that cannot be written, or a lock that cannot be taken again.
        return model->lastError();
    }

    void quit(const std::string& why = {}) {
        if (hasEnded || isQuitting) {
            return;
        }
        isQuitting = true;
        notification.stopping();
        model->quitBecause(why);
        hasEnded = true;
    }

    /// The end that the user asked for with a bound.
    void endBecause(const std::string& why) {
        if (hasEnded || isQuitting) {
            return;
        }
        quit(why);
        try {
            report.end(why, loop->now());
        } catch (const OutputError& error) {
            if (!error.isReaderGone()) {
                status = ExitStatus::failure;
                printError("tavoctl: {}\n", visibleControls(errorText(error)));
            }
        }
    }

    /// A stopped program is not expected to do anything, and would not notice that its reason to keep awake has gone.
    void stop() {
        if (hasEnded || isQuitting) {
            return;
        }
        isStopping = true;
        const bool isReleased = model->releaseEverything();
        isStopping = false;
        if (isReleased) {
            isStopped = true;
            show();
            stopUntilContinued();
            isStopped = false;
            end->check();
        } else {
            printError("tavoctl: not stopped, since not everything could be released: {}\n",
                       visibleControls(model->lastError().value_or("the helper does not answer.")));
        }
        model->evaluateNow();
    }

    /// Releases everything, and leaves the failure in state.json for the status command.
    void fail(const std::exception_ptr& failure, const std::string& text) {
        hasEnded = true;
        auto failed = model->runtimeSnapshot();
        status = exitStatusOf(failure);
        notification.stopping();
        model->quit();
        failed.isWakeAssertionActive = false;
        failed.lastDecisionReason = RuntimeDecisionReason::error;
        failed.lastError = text;
        try {
            store->saveRuntimeSnapshot(failed);
        } catch (const std::exception&) {
            // The failure itself follows, on standard error.
        }
        printError("tavoctl: {}{}\n", visibleControls(text), adviceFor(failure));
    }

    RunOptions options;
    std::vector<WatchedProcess> processes;
    std::shared_ptr<ProcessExitNotifying> exits;
    const InstanceLock& lock;
    std::optional<std::string> publishedAssertionNotice;
    std::shared_ptr<AsioMainLoop> loop = std::make_shared<AsioMainLoop>();
    std::shared_ptr<const TavoStoring> store;
    std::shared_ptr<AssertionStatus> assertionStatus;
    std::shared_ptr<CommandRunning> assertionRunner;
    WakePlanBuilder wakePlanBuilder;
    std::function<bool()> seemsWithoutMeans;
    RunReport report;
    ServiceNotification notification;
    std::shared_ptr<TavoAppModel> model;
    ExitStatus status = ExitStatus::success;
    bool hasBegun = false;
    bool isQuitting = false;
    bool isStopping = false;
    bool isStopped = false;
    bool hasEnded = false;
    std::optional<RunEnd> end;

    /// Last, so that it calls nothing while the rest is being destroyed.
    std::optional<ReaderWatch> readerWatch;
};

} // namespace

ExitStatus runInForeground(const RunOptions& options, std::shared_ptr<const TavoStoring> store, Platform platform,
                           ServiceNotification notification) {
    if (const auto shortage = openFilesShortage()) {
        printError("tavoctl: {}; raise the limit, with ulimit -n or where this is started.\n", *shortage);
        return ExitStatus::failure;
    }
    const auto config = options.overrides.appliedTo(loadConfigOrExplain(*store));
    if (options.whileWorking && config.trigger.mode == TriggerMode::always) {
        printError(
            "tavoctl: --while-working needs a process to watch, and the trigger is always on; name a process with "
            "--preset, --executable or --command.\n");
        return ExitStatus::wrongUsage;
    }
    std::vector<WatchedProcess> processes;
    try {
        processes = runningProcesses(options.bound.processes);
    } catch (const UsageError& error) {
        printError("tavoctl: {}; give --pid the number of a running one.\n", error.what());
        return ExitStatus::wrongUsage;
    }
    // Nobody may find the process id in the lock file and signal it before the signals are handled.
    std::optional<BlockedSignals> blocked(std::in_place, std::vector{SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2});
    const auto lock = InstanceLock::acquire(store->paths().lockURL(), noteOf(options));
    if (!lock) {
        const auto holder = InstanceLock::holder(store->paths().lockURL());
        printError(
            "tavoctl: another tavo is running{}; end it first, or give this one a folder of its own with --root.\n",
            holder ? fmt::format(" (process id {})", *holder) : "");
        return ExitStatus::alreadyRunning;
    }
    platform.history = makeHistory(store->paths(), "tavoctl run",
                                   [](const std::string& text) { printError("tavoctl: {}\n", visibleControls(text)); });
    ForegroundRun run(options, std::move(processes), std::move(store), std::move(platform), *lock,
                      std::move(notification));
    run.handleSignals();
    blocked.reset();
    return run.run();
}

} // namespace tavo
