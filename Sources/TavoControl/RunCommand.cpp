#include "RunCommand.h"

#include "ConfigurationError.h"
#include "RunReport.h"
#include "app/AsioMainLoop.h"
#include "app/ProcessSignals.h"
#include "app/TavoAppModel.h"
#include "base/PrintError.h"
#include "base/Text.h"
#include "base/WakeControlError.h"
#include "config/InstanceLock.h"

#include <fmt/format.h>

#include <csignal>
#include <cstdio>

namespace tavo {

namespace {

/// For the status command: neither the file that it reads nor the system's list says what this run puts in the place of the
/// file and what the desktop refused.
std::string noteOf(const RunOverrides& overrides, const std::optional<std::string>& assertionNotice = std::nullopt) {
    auto note = overrides.json();
    if (assertionNotice) {
        note[InstanceLock::assertionNoticeKey] = *assertionNotice;
    }
    return note.empty() ? "" : note.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// What the user can do about a failure, as one more sentence.
std::string adviceFor(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const WakeControlError& error) {
        if (error.kind() == WakeControlError::Kind::closedLidRequiresPrivilege) {
            return " tavoctl helper install grants it.";
        }
    } catch (...) {
        return ""; // speaks for itself
    }
    return "";
}

/// One run of the evaluations, without a window.
class ForegroundRun final : private ApplicationControlling {
public:
    /// @param lock  outlives this.
    ForegroundRun(const RunOptions& options, std::shared_ptr<const TavoStoring> store, Platform platform,
                  const InstanceLock& lock)
        : overrides(options.overrides), lock(lock),
          store(std::make_shared<OverridingStore>(std::move(store), options.overrides)), board(platform.assertionBoard),
          report(Console(stdout), options.json),
          model(TavoAppModel::make(loop, this->store, std::move(platform), *this)) {}

    ExitStatus run() {
        model->onChange([this](ModelChanges) {
            tellAssertionNotice();
            show();
        });
        loop->post([this] { evaluate(); });
        loop->run();
        return status;
    }

    void handleSignals() {
        loop->handleSignals(quittingSignals(), [this](int) { quit(); });
        // There is no window to show here, so the request for one is taken and dropped.
        loop->handleSignals({SIGUSR1, SIGUSR2}, [this](int signal) {
            if (signal == SIGUSR1) {
                model->lookAround();
            }
        });
    }

private:
    void orderOutKeyWindow() override {}
    std::unique_ptr<SettingsWindowControlling> makeSettingsWindow(TavoAppModel&) override { return nullptr; }
    void terminate() override { loop->stop(); }

    void evaluate() { model->evaluateNow(); }

    void tellAssertionNotice() {
        const auto current = model->assertionNotice();
        if (current == notedAssertionNotice) {
            return;
        }
        notedAssertionNotice = current;
        try {
            lock.replaceNote(noteOf(overrides, current));
        } catch (const std::exception&) {
            // Only what tavoctl status says of this run depends on it.
        }
    }

    void show() {
        if (hasEnded) {
            return;
        }
        if (model->evaluationFailure()) {
            fail();
            return;
        }
        const auto& snapshot = model->runtimeSnapshot();
        const auto copy = model->hasLostAssertion()
                              ? RuntimeStatusCopy{"not awake", "the lock was lost and is being taken again"}
                              : model->runtimeStatusCopy();
        const RunLine line{.reason = snapshot.lastDecisionReason,
                           .title = copy.title,
                           .detail = copy.detail,
                           .held = board->summary(),
                           .matchedProcesses = snapshot.matchedProcesses,
                           .notice = notice()};
        if (!report.update(line, model->configFileError(), loop->now())) {
            quit();
        }
    }

    std::optional<std::string> notice() const {
        // Somebody who starts this by hand wants something kept awake.
        if (!isQuitting && model->runtimeSnapshot().lastDecisionReason == RuntimeDecisionReason::disabled) {
            return "config.json has keeping awake switched off (isEnabled); switch it on there, or name a trigger for "
                   "this run, as in tavoctl run --always";
        }
        return model->assertionNotice();
    }

    void quit() {
        if (hasEnded || isQuitting) {
            return;
        }
        isQuitting = true;
        model->quit();
        hasEnded = true;
    }

    /// Lets go of everything, and leaves the failure on record for whoever looks at the state later.
    void fail() {
        hasEnded = true;
        const auto failure = model->evaluationFailure();
        auto failed = model->runtimeSnapshot();
        status = exitStatusOf(failure);
        model->quit();
        failed.isWakeAssertionActive = false;
        try {
            store->saveRuntimeSnapshot(failed);
        } catch (const std::exception&) {
            // What is to be said follows, on standard error.
        }
        printError("tavoctl: {}{}\n", visibleControls(failed.lastError.value_or("the evaluation failed.")),
                   adviceFor(failure));
    }

    RunOverrides overrides;
    const InstanceLock& lock;
    std::optional<std::string> notedAssertionNotice;
    std::shared_ptr<AsioMainLoop> loop = std::make_shared<AsioMainLoop>();
    std::shared_ptr<const TavoStoring> store;
    std::shared_ptr<AssertionBoard> board;
    RunReport report;
    std::shared_ptr<TavoAppModel> model;
    ExitStatus status = ExitStatus::success;
    bool isQuitting = false;
    bool hasEnded = false;
};

} // namespace

ExitStatus runInForeground(const RunOptions& options, std::shared_ptr<const TavoStoring> store, Platform platform) {
    loadConfigOrExplain(*store);
    // Nobody may find the process id in the lock file and signal it before the signals are handled.
    std::optional<BlockedSignals> blocked(std::in_place, std::vector{SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2});
    const auto lock = InstanceLock::acquire(store->paths().lockURL(), noteOf(options.overrides));
    if (!lock) {
        const auto holder = InstanceLock::holder(store->paths().lockURL());
        printError(
            "tavoctl: another tavo is running{}; end it first, or give this one a folder of its own with --root.\n",
            holder ? fmt::format(" (process id {})", *holder) : "");
        return ExitStatus::alreadyRunning;
    }
    // A reader that has gone is noticed where the line is written.
    std::signal(SIGPIPE, SIG_IGN);
    ForegroundRun run(options, std::move(store), std::move(platform), *lock);
    run.handleSignals();
    blocked.reset();
    return run.run();
}

} // namespace tavo
