#include "TavoControl/WatchCommand.h"

#include "Support/DescribedJson.h"
#include "TavoControl/CommandTest.h"
#include "TavoControl/PseudoTerminal.h"
#include "base/JsonCoding.h"

#include <fmt/format.h>

namespace tavo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* entersScreen = "\x1B[?1049h";
constexpr const char* leavesScreen = "\x1B[?1049l";

class WatchCommandTest : public CommandTest {
protected:
    int watchHere(bool json = false) { return static_cast<int>(watchLive({.json = json}, *store, platform)); }

    void save(bool isEnabled) const {
        AppConfig config;
        config.isEnabled = isEnabled;
        store->saveConfig(config);
    }

    struct PipedWatch {
        pid_t child = -1;
        std::FILE* output = nullptr;
    };

    /// Starts the command in a process of its own, whose output goes to a pipe.
    PipedWatch watchIntoPipe(bool json = false) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            throw std::runtime_error("no pipe could be made");
        }
        const auto child = fork();
        if (child == 0) {
            dup2(ends[1], STDOUT_FILENO);
            close(ends[0]);
            close(ends[1]);
            std::signal(SIGPIPE, SIG_IGN);
            _exit(watchHere(json));
        }
        close(ends[1]);
        return {.child = child, .output = fdopen(ends[0], "r")};
    }

    void expectRestored(PseudoTerminal& terminal, const std::string& by) {
        int status = -1;
        EXPECT_THAT(terminal.finish(status), HasSubstr(leavesScreen)) << by;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << by;
        EXPECT_TRUE(terminal.isSetAsBefore()) << by;
    }
};

TEST_F(WatchCommandTest, EverySignalThatEndsItRestoresTheTerminal) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        PseudoTerminal terminal(80, 24, [this] { return watchHere(); });
        const auto shown = terminal.readUntil("as of ");
        EXPECT_THAT(shown, HasSubstr(entersScreen));
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
    EXPECT_THAT(terminal.readUntil("it is stopped"), HasSubstr(leavesScreen));
    EXPECT_TRUE(terminal.isSetAsBefore());
    terminal.type('\n');
    const auto shown = terminal.readUntil("as of ");
    EXPECT_THAT(shown, HasSubstr(entersScreen));
    EXPECT_FALSE(terminal.showsTyping());
    terminal.type('\x03');
    expectRestored(terminal, "Ctrl-C after fg");
}

TEST_F(WatchCommandTest, AResizedTerminalIsRedrawnAndTwentyColumnsAreEnough) {
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
    const auto [child, output] = watchIntoPipe();
    std::array<char, 1024> line{};
    ASSERT_NE(std::fgets(line.data(), line.size(), output), nullptr);
    EXPECT_THAT(line.data(), HasSubstr("not running: a running tavo would say: paused, tavo is off; holding nothing"));
    EXPECT_THAT(line.data(), Not(HasSubstr("\x1B")));
    save(true);
    ASSERT_NE(std::fgets(line.data(), line.size(), output), nullptr);
    EXPECT_THAT(line.data(), HasSubstr("a running tavo would keep this computer awake: always on"));
    std::fclose(output);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(WatchCommandTest, WithJsonEachChangeIsAnObjectOnALine) {
    const auto [child, output] = watchIntoPipe(true);
    std::array<char, 8192> line{};
    ASSERT_NE(std::fgets(line.data(), line.size(), output), nullptr);
    const auto object = describedJson("watch", std::string(line.data()));
    EXPECT_EQ(object["reason"], "disabled");
    EXPECT_TRUE(object.contains("time"));
    EXPECT_EQ(object["steps"].size(), 6U);
    kill(child, SIGTERM);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(std::fgets(line.data(), line.size(), output), nullptr) << "the clock is no change";
    std::fclose(output);
}

} // namespace
} // namespace tavo
