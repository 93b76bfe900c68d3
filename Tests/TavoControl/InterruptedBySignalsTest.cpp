#include "TavoControl/InterruptedBySignals.h"

#include "Support/StandInPrompt.h"
#include "Support/WaitUntil.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace tavo {
namespace {

/// Runs `work` in a process of its own, sends it a signal once `isReady`, and returns its status.
int statusAfterSignal(int signal, const std::function<void()>& work, const std::function<bool()>& isReady) {
    const auto child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    EXPECT_TRUE(waitUntil(isReady));
    kill(child, signal);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST(InterruptedBySignals, EverythingIsPutAwayBeforeTheProgramEndsByTheSignal) {
    const TemporaryDirectory folder;
    const auto interruption = std::make_shared<Interruption>();
    StandInPrompt prompt(folder, interruption);
    const auto staged = folder.write("staged", "");
    const auto work = [&] {
        const InterruptedBySignals interrupted(interruption, std::chrono::minutes{2});
        try {
            prompt.run({});
        } catch (const Interrupted&) {
            std::filesystem::remove(staged);
        }
    };
    const int status = statusAfterSignal(SIGTERM, work, [&] { return prompt.isAsking(); });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    EXPECT_FALSE(std::filesystem::exists(staged));
}

TEST(InterruptedBySignals, WorkThatDoesNotEndDoesNotKeepTheProgram) {
    const TemporaryDirectory folder;
    const auto interruption = std::make_shared<Interruption>();
    const auto working = folder.path() / "working";
    const auto work = [&] {
        const InterruptedBySignals interrupted(interruption, std::chrono::milliseconds{50});
        folder.write("working", "");
        for (;;) {
            pause();
        }
    };
    const int status = statusAfterSignal(SIGINT, work, [&] { return std::filesystem::exists(working); });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
}

TEST(InterruptedBySignals, WithoutASignalNothingHappens) {
    const auto interruption = std::make_shared<Interruption>();
    { const InterruptedBySignals interrupted(interruption); }
    EXPECT_FALSE(interruption->isInterrupted());
}

} // namespace
} // namespace tavo
