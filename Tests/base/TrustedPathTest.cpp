#include "base/TrustedPath.h"

#include "Support/ForeignFolders.h"
#include "base/AtomicFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <system_error>

namespace tavo {
namespace {

using ::testing::HasSubstr;

using TrustedPath = ForeignFolders;

TEST_F(TrustedPath, AFolderOfAnotherUsersIsRefusedAtAnyLevel) {
    const auto reason = "since the folder " + users.string() + " belongs to another user (user id 54321)";
    expectRefusal([&] { trustedFolder(users, 0); }, reason);
    expectRefusal([&] { trustedFile(users / "file", 0); }, reason);
    expectRefusal([&] { trustedFile(users / "missing" / "file", 0); }, reason);
    std::filesystem::create_directories(users / "of root's");
    expectRefusal([&] { trustedFolder(users / "of root's", 0); }, reason);
    expectRefusal([&] { trustedFolder(roots / ".." / "users" / "deep" / "..", 0); }, reason);
}

TEST_F(TrustedPath, AFolderThatOthersMayWriteToIsRefused) {
    for (const mode_t mode : {0777U, 0702U}) {
        ASSERT_EQ(chmod(roots.c_str(), mode), 0);
        expectRefusal([&] { trustedFolder(roots, 0); }, "since others may write to the folder " + roots.string());
        expectRefusal([&] { trustedFile(roots / "file", 0); }, "others may write");
        expectRefusal([&] { trustedFile(roots / "below" / "file", 0); }, "others may write");
    }
    ASSERT_EQ(chmod(roots.c_str(), 0770), 0);
    EXPECT_EQ(trustedFolder(roots, 0), roots) << "the group is root's";
    ASSERT_EQ(chown(roots.c_str(), 0, mallory), 0);
    ASSERT_EQ(chmod(roots.c_str(), 0770), 0);
    expectRefusal([&] { trustedFolder(roots, 0); }, "others may write");
}

TEST_F(TrustedPath, AFolderLikeTmpMayBeOnTheWayButHoldsNoFile) {
    ASSERT_EQ(chmod(roots.c_str(), 01777), 0);
    EXPECT_EQ(trustedFolder(roots / "below", 0), roots / "below");
    EXPECT_EQ(trustedFile(roots / "below" / "file", 0), roots / "below" / "file");
    expectRefusal([&] { trustedFolder(roots, 0); }, "others may write");
    expectRefusal([&] { trustedFile(roots / "file", 0); }, "others may write");
}

TEST_F(TrustedPath, ALinkIsFollowedWhenItIsRootsOwnAndLeadsToWhatIsRoots) {
    std::filesystem::create_directory(roots / "target");
    const auto link = folder.path() / "link";
    std::filesystem::create_symlink("roots/target", link);
    EXPECT_EQ(trustedFolder(link, 0), roots / "target");
    EXPECT_EQ(trustedFile(link / "missing", 0), roots / "target" / "missing");
    give(link);
    expectRefusal([&] { trustedFolder(link, 0); }, link.string() + " is a link of another user's (user id 54321)");

    const auto out = roots / "out";
    std::filesystem::create_symlink(users / "file", out);
    expectRefusal([&] { trustedFile(out, 0); }, "the folder " + users.string() + " belongs to another user");
}

TEST_F(TrustedPath, LinksInARingAreAnError) {
    std::filesystem::create_symlink("b", roots / "a");
    std::filesystem::create_symlink("a", roots / "b");
    EXPECT_THROW(trustedFile(roots / "a", 0), std::system_error);
}

TEST_F(TrustedPath, ForAnOrdinaryUserThePathIsTakenAsItStands) {
    EXPECT_EQ(trustedFolder(users / "deep", mallory), users / "deep");
    EXPECT_EQ(trustedFile(users / "file", mallory), users / "file");
}

TEST_F(TrustedPath, AFolderThatSomebodyElseMadeFirstIsRefused) {
    ASSERT_EQ(chmod(roots.c_str(), 01777), 0);
    const auto contested = roots / "Tavo";
    ensureDirectoryExists(contested);
    EXPECT_TRUE(std::filesystem::is_directory(contested));
    give(contested);
    expectRefusal([&] { ensureDirectoryExists(contested); }, "belongs to another user");
}

} // namespace
} // namespace tavo
