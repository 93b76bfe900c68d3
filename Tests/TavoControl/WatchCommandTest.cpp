#include "TavoControl/WatchCommand.h"

#include "TavoControl/CommandTest.h"
#include "TavoControl/PseudoTerminal.h"
#include "base/JsonCoding.h"

#include <fmt/format.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* takesScreen = "\x1B[?1049h";
constexpr const char* givesScreenBack = "\x1B[?1049l";

class WatchCommandTest : public CommandTest {
protected:
    int watchHere(bool json = false) { return static_cast<int>(watchLive({.json = json}, *store, platform)); }

    void save(bool isEnabled) const {
        AppConfig config;
        config.isEnabled = isEnabled;
        store->saveConfig(config);
    }

    void expectRestored(PseudoTerminal& terminal, const std::string& by) {
        int status = -1;
        EXPECT_THAT(terminal.finish(status), HasSubstr(givesScreenBack)) << by;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << by;
        EXPECT_TRUE(terminal.isSetAsBefore()) << by;
    }
};

TEST_F(WatchCommandTest, EverySignalThatEndsItGivesTheTerminalBack) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        PseudoTerminal terminal(80, 24, [this] { return watchHere(); });
        const auto shown = terminal.readUntil("as of ");
        EXPECT_THAT(shown, HasSubstr(takesScreen));
        EXPECT_THAT(shown, HasSubstr("keeping awake is switched off"));
        EXPECT_FALSE(terminal.showsTyping());
        kill(terminal.pid(), signal);
        expectRestored(terminal, fmt::format("signal {}", signal));
    }
}

TEST_F(WatchCommandTest, CtrlCIsSuchASignal) {
    PseudoTerminal terminal(80, 24, [this] { return watchHere(); });
    terminal.readUntil("as of ");
    terminal.type('\x03');
    expectRestored(terminal, "Ctrl-C");
}

TEST_F(WatchCommandTest, AChangedFileIsShownAtOnce) {
    PseudoTerminal terminal(80, 24, [this] { return watchHere(); });
    terminal.readUntil("keeping awake is switched off");
    save(true);
    EXPECT_THAT(terminal.readUntil("keeping awake is switched on"), HasSubstr("keeping awake is switched on"));
}

TEST_F(WatchCommandTest, WhileItIsStoppedTheTerminalIsAsBefore) {
    // The terminal's own process has to live on for its job to be stopped and continued, as a shell does.
    PseudoTerminal terminal(80, 24, [this] {
        std::signal(SIGTTOU, SIG_IGN); // handing the terminal over would stop who does it from the background
        const auto job = fork();
        if (job == 0) {
            setpgid(0, 0);
            tcsetpgrp(STDIN_FILENO, getpgrp());
            _exit(watchHere());
        }
        setpgid(job, job);
        int status = 0;
        waitpid(job, &status, WUNTRACED);
        std::puts(WIFSTOPPED(status) ? "it is stopped" : "it has ended");
        std::fflush(stdout);
        tcsetpgrp(STDIN_FILENO, getpgrp());
        char unit = 0;
        while (read(STDIN_FILENO, &unit, 1) == 1 && unit != '\n') {
        }
        tcsetpgrp(STDIN_FILENO, job);
        kill(-job, SIGCONT);
        waitpid(job, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 100;
    });
    terminal.readUntil("as of ");
    terminal.type('\x1A');
    EXPECT_THAT(terminal.readUntil("it is stopped"), HasSubstr(givesScreenBack));
    EXPECT_TRUE(terminal.isSetAsBefore());
    terminal.type('\n');
    const auto shown = terminal.readUntil("as of ");
    EXPECT_THAT(shown, HasSubstr(takesScreen));
    EXPECT_FALSE(terminal.showsTyping());
    terminal.type('\x03');
    expectRestored(terminal, "Ctrl-C after fg");
}

TEST_F(WatchCommandTest, AResizedTerminalIsDrawnAnewAndTwentyColumnsAreEnough) {
    PseudoTerminal terminal(80, 24, [this] { return watchHere(); });
    terminal.readUntil("as of ");
    terminal.resize(20, 40);
    const auto shown = terminal.readUntil("  keeping awake is\x1B[K");
    EXPECT_THAT(shown, HasSubstr("  keeping awake is\x1B[K"));
    // Fewer rows than lines: the last row is filled, and nothing scrolls.
    terminal.readUntil("as of ");
    terminal.resize(80, 2);
    const auto small = terminal.readUntil("> switch ");
    EXPECT_THAT(small, HasSubstr("> switch "));
}

TEST_F(WatchCommandTest, WithoutATerminalItPrintsALineForEachChangeUntilNobodyReads) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const auto child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        std::signal(SIGPIPE, SIG_IGN);
        _exit(watchHere());
    }
    close(ends[1]);
    auto* reader = fdopen(ends[0], "r");
    std::array<char, 1024> line{};
    ASSERT_NE(std::fgets(line.data(), line.size(), reader), nullptr);
    EXPECT_THAT(line.data(), HasSubstr("not running: a running tavo would say: paused, tavo is off; holding nothing"));
    EXPECT_THAT(line.data(), Not(HasSubstr("\x1B")));
    save(true);
    ASSERT_NE(std::fgets(line.data(), line.size(), reader), nullptr);
    EXPECT_THAT(line.data(), HasSubstr("a running tavo would keep this computer awake: always on"));
    std::fclose(reader);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(WatchCommandTest, WithJsonEachChangeIsAnObjectOnALine) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const auto child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        _exit(watchHere(true));
    }
    close(ends[1]);
    auto* reader = fdopen(ends[0], "r");
    std::array<char, 8192> line{};
    ASSERT_NE(std::fgets(line.data(), line.size(), reader), nullptr);
    const auto object = parseJson(line.data());
    EXPECT_EQ(object["reason"], "disabled");
    EXPECT_TRUE(object.contains("time"));
    EXPECT_EQ(object["steps"].size(), 6U);
    kill(child, SIGTERM);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(std::fgets(line.data(), line.size(), reader), nullptr) << "the clock is no change";
    std::fclose(reader);
}

} // namespace
} // namespace tavo
