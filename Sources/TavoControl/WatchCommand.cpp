#include "TavoControl/WatchCommand.h"

#include "TavoControl/Console.h"
#include "TavoControl/ExplainCommand.h"
#include "TavoControl/LocalTime.h"
#include "TavoControl/TerminalScreen.h"
#include "app/AsioMainLoop.h"
#include "app/ProcessSignals.h"
#include "base/Duration.h"
#include "base/JsonCoding.h"
#include "base/Text.h"
#include "base/WrappedText.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <exception>

namespace tavo {

namespace {

/// How often to refresh the facts that no file tells of: the power, the processes, the system's list of locks.
constexpr std::chrono::seconds refreshInterval{5};

/// For the second time, so that the CPU use is known soon.
constexpr std::chrono::seconds firstRefreshInterval{2};

/// Identifies the version of a file that was read.
std::string signatureOf(const std::filesystem::path& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return "-";
    }
    // A replaced file has another number; one that is written in place, as the lock's, has another length or time.
    return fmt::format("{} {} {}", status.st_ino, status.st_size, status.st_mtime);
}

/// When the last evaluation was and when the next one is due: the part that changes with the clock.
std::string clockText(const ExplanationFacts& facts, TimePoint now) {
    const auto& snapshot = facts.status.snapshot;
    if (!facts.status.runningProcessID) {
        return "as of " + localClockWithSeconds(facts.status.now);
    }
    if (!snapshot.lastEvaluationDate) {
        return "not evaluated yet";
    }
    const auto age = std::chrono::duration_cast<std::chrono::seconds>(now - *snapshot.lastEvaluationDate).count();
    const auto ago = fmt::format("evaluated {} ago", spokenDuration(std::max<std::int64_t>(age, 0)));
    if (facts.status.isStopped) {
        return ago;
    }
    if (snapshot.lastDecisionReason == RuntimeDecisionReason::error) {
        return ago + ", again when something changes";
    }
    const auto left = AppConfig::fixedPollIntervalSeconds - age;
    return ago + (left > 0 ? ", again in " + spokenDuration(left) : ", again any moment");
}

class LiveView {
public:
    LiveView(const WatchOptions& options, const TavoStoring& store, const Platform& platform)
        : json(options.json), paths(store.paths()), source(store, platform), console(stdout) {}

    void run() {
        refresh(); // reports an unusable configuration on the ordinary screen
        handleSignals();
        if (!json && isatty(STDOUT_FILENO) == 1) {
            screen.emplace(stdout);
        } else {
            readerWatch.emplace(STDOUT_FILENO, [this] { loop->stop(); });
        }
        show();
        waitASecond();
        loop->run();
        if (failure) {
            screen.reset();
            std::rethrow_exception(failure);
        }
    }

private:
    void handleSignals() {
        auto quitting = quittingSignals();
        quitting.push_back(SIGQUIT);
        loop->handleSignals(quitting, [this](int) { loop->stop(); });
        loop->handleSignals(stoppingSignals(), [this](int) { stop(); });
        loop->handleSignals({SIGWINCH, SIGCONT}, [this](int) { guarded([this] { show(); }); });
    }

    void stop() {
        guarded([this] {
            if (screen) {
                screen->leave();
            }
            stopUntilContinued();
            if (screen) {
                screen->enter();
            }
            refresh();
            show();
        });
    }

    /// Nothing may be thrown through the loop.
    template <typename Work>
    void guarded(Work&& work) {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
            loop->stop();
        }
    }

    void waitASecond() {
        timer = loop->startTimer(1.0, [this] {
            guarded([this] {
                const auto interval = refreshCount < 2 ? firstRefreshInterval : refreshInterval;
                if (signature() != lastSignature || loop->now() - lastRefresh >= interval ||
                    loop->now() < lastRefresh) {
                    refresh();
                }
                show();
                waitASecond();
            });
        });
    }

    std::string signature() const {
        return signatureOf(paths.configURL()) + "|" + signatureOf(paths.stateURL()) + "|" +
               signatureOf(paths.lockURL());
    }

    void refresh() {
        lastSignature = signature();
        lastRefresh = loop->now();
        explanation.emplace(source.collect());
        ++refreshCount;
    }

    void show() {
        if (screen) {
            screen->draw(screenLines());
        } else {
            printChange();
        }
    }

    std::vector<std::string> screenLines() const {
        const auto width = screen->columns();
        auto lines = explanation->lines(console, width);
        lines.emplace_back();
        for (auto& line : wrapped(clockText(explanation->given(), loop->now()), width)) {
            lines.push_back(std::move(line));
        }
        return lines;
    }

    /// The CPU use differs every time, which is no change worth a line.
    Json withoutShares() const {
        auto facts = explanation->given();
        for (auto& tree : facts.trees) {
            tree.cpuPercent.reset();
        }
        if (facts.activity) {
            facts.activity->measuredAt = {};
            facts.activity->lastWorkAt.reset();
            for (auto& tree : facts.activity->trees) {
                tree.cpuPercent.reset();
            }
        }
        return Explanation(std::move(facts)).json();
    }

    void printChange() {
        const auto copy = explanation->headline();
        const auto text =
            fmt::format("{}: {}; holding {}", console.styled(visibleControls(copy.title), Emphasis::strong),
                        visibleControls(copy.detail), visibleControls(explanation->steps().back().text));
        const auto content = json ? withoutShares() : Json(text);
        if (content == lastPrinted) {
            return;
        }
        lastPrinted = content;
        if (json) {
            constexpr int onOneLine = -1;
            auto object = explanation->json();
            object["time"] = formatISO8601(loop->now());
            console.print(shownJson(object, onOneLine));
        } else {
            console.print(localClockWithSeconds(loop->now()) + "  " + text);
        }
    }

    bool json;
    TavoPaths paths;
    ExplanationSource source;
    Console console;
    std::shared_ptr<AsioMainLoop> loop = std::make_shared<AsioMainLoop>();
    std::unique_ptr<MainLoopTimer> timer;
    std::optional<Explanation> explanation;
    std::optional<Json> lastPrinted;
    std::string lastSignature;
    TimePoint lastRefresh;
    int refreshCount = 0;
    std::exception_ptr failure;
    std::optional<TerminalScreen> screen;

    /// Last, so that it calls nothing while the rest is being destroyed.
    std::optional<ReaderWatch> readerWatch;
};

} // namespace

ExitStatus watchLive(const WatchOptions& options, const TavoStoring& store, const Platform& platform) {
    LiveView(options, store, platform).run();
    return ExitStatus::success;
}

} // namespace tavo
