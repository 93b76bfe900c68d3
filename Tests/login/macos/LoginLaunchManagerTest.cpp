#include "login/macos/LoginLaunchManager.h"

#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <unistd.h>

#include <system_error>

namespace tavo {
namespace {

using testing::ElementsAre;

class LoginLaunch : public testing::Test {
protected:
    std::string line(const std::string& action) const {
        return "run /bin/launchctl " + action + " gui/" + std::to_string(getuid()) + " " + agent.string();
    }

    TemporaryDirectory folder;
    std::filesystem::path agent = folder.path() / "Library/LaunchAgents/com.vrd.tavo.plist";
    std::shared_ptr<ScriptedCommandRunner> runner = std::make_shared<ScriptedCommandRunner>();
    std::size_t pauses = 0;
    LoginLaunchManager manager{agent, runner, [this](std::chrono::microseconds) { ++pauses; }};

    /// The whole change, as one that may wait makes it.
    void enable(const std::filesystem::path& program) {
        if (const auto rest = manager.enable(program, {})) {
            rest();
        }
    }
};

/// The top dictionary of a property list as "key type value" lines.
std::vector<std::string> entriesOf(const std::string& xml) {
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(xml.c_str()));
    std::vector<std::string> entries;
    for (const auto key : document.child("plist").child("dict").children("key")) {
        const auto value = key.next_sibling();
        const std::string type = value.name();
        std::string text = value.text().get();
        if (type == "array") {
            EXPECT_EQ(std::distance(value.begin(), value.end()), 1);
            text = value.child("string").text().get();
        }
        entries.push_back(std::string(key.text().get()) + " " + type + " " + text);
    }
    return entries;
}

TEST_F(LoginLaunch, TheAgentHoldsFiveKeysAndIsNotKeptAlive) {
    enable("/Applications/Tavo & Co.app/Contents/MacOS/tavo");
    EXPECT_THAT(entriesOf(readWholeFile(agent)),
                ElementsAre("Label string com.vrd.tavo",
                            "ProgramArguments array /Applications/Tavo & Co.app/Contents/MacOS/tavo", "RunAtLoad true ",
                            "KeepAlive false ", "ProcessType string Interactive"));
}

TEST_F(LoginLaunch, AnEarlierCopyIsUnloadedBeforeTheNewOneIsLoaded) {
    enable("/one");
    EXPECT_THAT(*runner->log, ElementsAre(line("bootout"), line("bootstrap")));
    EXPECT_FALSE(runner->commands[0].requiresPrivilege);
    EXPECT_FALSE(runner->commands[1].requiresPrivilege);
    enable("/two");
    EXPECT_THAT(entriesOf(readWholeFile(agent)).at(1), "ProgramArguments array /two");
}

TEST_F(LoginLaunch, AFailureToUnloadIsIgnored) {
    runner->results = {{.exitCode = 3, .standardError = "no such job"}, {}};
    EXPECT_NO_THROW(enable("/one"));
    runner->failure = std::make_exception_ptr(std::system_error(ENOENT, std::generic_category(), "launchctl"));
    EXPECT_NO_THROW(manager.disable());
    EXPECT_FALSE(manager.isEnabled());
}

TEST_F(LoginLaunch, ACopyThatIsStillBeingUnloadedIsWaitedForByTheRemainderAlone) {
    const ShellCommandResult refused{.exitCode = 5, .standardError = "Bootstrap failed: 5: Input/output error"};
    runner->results = {{}, refused, {}, {}, {.exitCode = 113}, {}};
    const auto rest = manager.enable("/one", {});
    EXPECT_THAT(*runner->log, ElementsAre(line("bootout"), line("bootstrap")));
    EXPECT_EQ(pauses, 0U);
    ASSERT_TRUE(rest);
    runner->log->clear();
    rest();
    const auto print = "run /bin/launchctl print gui/" + std::to_string(getuid()) + "/com.vrd.tavo";
    EXPECT_THAT(*runner->log, ElementsAre(print, print, print, line("bootstrap")));
    EXPECT_EQ(pauses, 2U);
}

TEST_F(LoginLaunch, AFailureToLoadIsSaidInLaunchctlsWords) {
    for (const auto& results :
         {std::deque<ShellCommandResult>{{}, {.exitCode = 125, .standardError = "Domain does not support it"}},
          std::deque<ShellCommandResult>{{},
                                         {.exitCode = 5},
                                         {.exitCode = 113},
                                         {.exitCode = 37, .standardError = "Domain does not support it"}}}) {
        runner->results = results;
        try {
            enable("/one");
            FAIL() << "nothing was thrown";
        } catch (const LoginLaunchManagerError& error) {
            EXPECT_EQ(error, LoginLaunchManagerError::bootstrapFailed("Domain does not support it"));
        }
    }
}

TEST_F(LoginLaunch, AFailureToLoadWithoutWordsHasItsExitCode) {
    runner->results = {{}, {.exitCode = 5}, {.exitCode = 113}, {.exitCode = 5}};
    try {
        enable("/one");
        FAIL() << "nothing was thrown";
    } catch (const LoginLaunchManagerError& error) {
        EXPECT_EQ(error.description(), "launchctl bootstrap failed with exit code 5.");
    }
    EXPECT_TRUE(runner->results.empty()) << "tried once more";
    EXPECT_TRUE(manager.isEnabled()) << "the file is the state";
}

TEST_F(LoginLaunch, ALaunchctlThatCannotBeRunIsTheRunnersError) {
    runner->failure = std::make_exception_ptr(std::system_error(ENOENT, std::generic_category(), "launchctl"));
    EXPECT_THROW(enable("/one"), std::system_error);
}

TEST_F(LoginLaunch, DisablingUnloadsAndRemoves) {
    enable("/one");
    runner->log->clear();
    manager.disable();
    EXPECT_THAT(*runner->log, ElementsAre(line("bootout")));
    EXPECT_FALSE(std::filesystem::exists(agent));
}

TEST_F(LoginLaunch, DisablingWhatIsOffIsNoError) {
    runner->results = {{.exitCode = 3}};
    EXPECT_NO_THROW(manager.disable());
    EXPECT_THAT(*runner->log, ElementsAre(line("bootout")));
}

TEST_F(LoginLaunch, AFolderThatCannotBeMadeIsAnErrorBeforeLaunchdIsAsked) {
    folder.write("Library", "a file");
    EXPECT_THROW(enable("/one"), std::system_error);
    EXPECT_TRUE(runner->log->empty());
}

TEST_F(LoginLaunch, APathThatXmlCannotCarryWritesNothing) {
    EXPECT_THROW(enable("/one\x01"), PropertyListError);
    EXPECT_FALSE(manager.isEnabled());
}

TEST(LoginLaunchManagerErrors, HaveTheirTexts) {
    EXPECT_EQ(LoginLaunchManagerError::missingExecutablePath().description(),
              "could not determine the executable path for tavo.");
}

TEST_F(LoginLaunch, TheAgentHasOneArgumentWhateverTheOptions) {
    enable("/one");
    const auto without = fileContent(agent);
    if (const auto rest = manager.enable("/one", {"--while-working"})) {
        rest();
    }
    EXPECT_EQ(fileContent(agent), without);
}

} // namespace
} // namespace tavo
