#include "helper/linux/DeferredRemoval.h"

#include "Support/TemporaryDirectory.h"
#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace tavo {
namespace {

using testing::HasSubstr;

/// Over a service manager of the test's own.
class DeferredRemovalTest : public testing::Test {
protected:
    void standIn(const std::string& program, const std::string& body) const {
        const auto file = folder.write("programs/" + program, "#!/bin/sh\n" + body + "\n");
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    }

    ShellCommandResult run(const std::string& script) const {
        auto command = deferredRemoval(script);
        command.arguments.insert(
            command.arguments.begin(),
            {"PATH=" + (folder.path() / "programs").string() + ":/usr/bin:/bin", command.executableURL.string()});
        command.executableURL = "/usr/bin/env";
        return SystemCommandRunner().run(command);
    }

    TemporaryDirectory folder;
};

TEST_F(DeferredRemovalTest, HandsTheScriptToAUnitOfItsOwn) {
    standIn("systemctl", "exit 3");
    standIn("systemd-run", "for word; do echo \"<$word>\"; done");
    const auto result = run("sleep 1\nremove 'it all'");
    EXPECT_EQ(result.exitCode, 0) << result.standardError;
    EXPECT_THAT(result.standardOutput, HasSubstr("<--unit=com.vrd.tavo.helper-removal.service>"));
    EXPECT_THAT(result.standardOutput, testing::EndsWith("<--description=Removes the helper of Tavo>\n"
                                                         "<-->\n</bin/sh>\n<-c>\n<sleep 1\nremove 'it all'>"));
}

TEST_F(DeferredRemovalTest, DoesNothingWhileAnEarlierOneIsUnderWay) {
    standIn("systemctl", "[ \"$*\" = 'is-active --quiet com.vrd.tavo.helper-removal.service' ]");
    standIn("systemd-run", "echo started");
    const auto result = run("remove");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, "");
}

TEST_F(DeferredRemovalTest, ItsFailureIsTheCommands) {
    standIn("systemctl", "exit 3");
    standIn("systemd-run", "echo no manager >&2; exit 1");
    const auto result = run("remove");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.standardError, "no manager");
}

} // namespace
} // namespace tavo
