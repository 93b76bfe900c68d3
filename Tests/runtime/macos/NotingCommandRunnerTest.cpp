#include "runtime/macos/NotingCommandRunner.h"

#include "Support/TemporaryDirectory.h"
#include "Support/WaitUntil.h"
#include "system/ProcessStart.h"
#include "system/SystemCommandRunner.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <future>

namespace tavo {
namespace {

class NotingRunner : public testing::Test {
protected:
    NotingCommandRunner runner() const {
        return {std::make_shared<SystemCommandRunner>(), note, [](pid_t pid) { return processStart(pid); }};
    }
    static ShellCommand sleeper() { return {.executableURL = "/bin/sleep", .arguments = {"1000"}}; }

    TemporaryDirectory folder;
    std::filesystem::path note = folder.path() / "a/assertion.json";
};

TEST_F(NotingRunner, TheChildIsNotedForAsLongAsItIsToRun) {
    auto noting = runner();
    const auto child = noting.start(sleeper());
    EXPECT_NE(fileContent(note).find("\"pid\": " + std::to_string(*child->processID())), std::string::npos);
    child->stop();
    EXPECT_FALSE(std::filesystem::exists(note));
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
}

TEST_F(NotingRunner, AnOrphanIsTheProcessThatWasNotedAndNoOther) {
    EXPECT_EQ(runner().orphan(), std::nullopt);
    auto first = runner();
    const auto child = first.start(sleeper());
    EXPECT_EQ(runner().orphan(), child->processID());
    const NotingCommandRunner otherStart(std::make_shared<SystemCommandRunner>(), note, [](pid_t) { return 1; });
    EXPECT_EQ(otherStart.orphan(), std::nullopt) << "the number has gone to another process";
    child->stop();
    EXPECT_EQ(runner().orphan(), std::nullopt);
}

TEST_F(NotingRunner, TheEndOfTheChildIsTold) {
    auto noting = runner();
    const auto child = noting.start(sleeper());
    const auto ended = std::make_shared<std::promise<void>>();
    child->onEnd([ended] { ended->set_value(); });
    kill(*child->processID(), SIGKILL);
    EXPECT_EQ(ended->get_future().wait_for(std::chrono::seconds{20}), std::future_status::ready);
}

TEST_F(NotingRunner, AnOrphanIsEndedByTheNextStart) {
    auto first = runner();
    const auto child = first.start(sleeper());
    runner().endOrphan();
    EXPECT_TRUE(waitUntil([&] { return !child->isRunning(); }));
    EXPECT_FALSE(std::filesystem::exists(note));
}

TEST_F(NotingRunner, AnotherProcessWithItsNumberIsLeftAlone) {
    auto first = runner();
    const auto child = first.start(sleeper());
    const auto started = processStart(*child->processID());
    folder.write("a/assertion.json", "{\"pid\": " + std::to_string(*child->processID()) +
                                         ", \"startTime\": " + std::to_string(*started + 1) + "}");
    runner().endOrphan();
    EXPECT_TRUE(child->isRunning());
    EXPECT_FALSE(std::filesystem::exists(note));
    child->stop();
}

TEST_F(NotingRunner, ANoteThatSaysNothingEndsNobody) {
    for (const auto* const text : {"", "{", "[]", "{\"pid\": 1, \"startTime\": 0}", "{\"pid\": -1, \"startTime\": 0}",
                                   "{\"pid\": \"x\"}", "{\"pid\": 99999999, \"startTime\": 5}"}) {
        folder.write("a/assertion.json", text);
        runner().endOrphan();
        EXPECT_FALSE(std::filesystem::exists(note)) << text;
    }
    runner().endOrphan();
}

TEST_F(NotingRunner, WithoutANoteTheChildRunsAllTheSame) {
    folder.write("a", "a file in the folder's place");
    auto noting = runner();
    const auto child = noting.start(sleeper());
    EXPECT_TRUE(child->isRunning());
    child->stop();
}

} // namespace
} // namespace tavo
