#include "helper/macos/InstalledFilesCheck.h"

#include "Support/TemporaryDirectory.h"
#include "helper/PrivilegedHelperInstaller.h"

#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

class InstalledFiles : public testing::Test {
protected:
    InstalledFilesCheck check() const {
        return {{{program, "program"}, {folder.path() / "list", "list"}}, "sudo rm program"};
    }

    TemporaryDirectory folder;
    std::filesystem::path program = folder.path() / "program";
};

TEST_F(InstalledFiles, ThatAreWhatWasMeantAreFine) {
    const auto before = check();
    folder.write("program", "program");
    folder.write("list", "list");
    EXPECT_NO_THROW(before.verify(true));
    EXPECT_NO_THROW(before.verify(false));
}

TEST_F(InstalledFiles, ThatAreNotThereAreNoForeignOnes) {
    EXPECT_NO_THROW(check().verify(true));
}

TEST_F(InstalledFiles, AnyOtherContentIsForeignAndTheRemovalIsNamed) {
    const auto before = check();
    folder.write("program", "program");
    for (const auto* content : {"", "lis", "list\n", "LIST"}) {
        folder.write("list", content);
        try {
            before.verify(true);
            ADD_FAILURE() << "'" << content << "' passed";
        } catch (const PrivilegedHelperInstallerError& error) {
            EXPECT_TRUE(error.foreignProgram());
            EXPECT_TRUE(error.description().ends_with("remove it with \"sudo rm program\" in a terminal."));
        }
    }
}

TEST_F(InstalledFiles, AfterAFailureAnEarlierFileIsNobodysFault) {
    folder.write("program", "an earlier one");
    const auto before = check();
    EXPECT_NO_THROW(before.verify(false));
    EXPECT_THROW(before.verify(true), PrivilegedHelperInstallerError) << "a success has replaced it";
    folder.write("program", "a foreign one");
    EXPECT_THROW(before.verify(false), PrivilegedHelperInstallerError);
}

TEST_F(InstalledFiles, OneThatCannotBeReadIsAnError) {
    std::filesystem::create_directory(program);
    EXPECT_THROW(check().verify(true), std::system_error);
}

TEST_F(InstalledFiles, AreComparedWithTheBytesOfBeforeWhateverBecomesOfTheSource) {
    std::string meant = "program";
    const InstalledFilesCheck before({{program, meant}}, "");
    meant = "foreign";
    folder.write("program", meant);
    EXPECT_THROW(before.verify(true), PrivilegedHelperInstallerError);
}

} // namespace
} // namespace tavo
