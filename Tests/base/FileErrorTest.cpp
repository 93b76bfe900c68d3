#include "base/FileError.h"

#include "base/ErrorText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

namespace tavo {
namespace {

using testing::HasSubstr;

TEST(FileError, SaysWhatTheUserCanDo) {
    const auto text = [](int code) { return errorText(FileError(code, "could not write", "/a/file")); };
    EXPECT_EQ(text(ENOSPC),
              "could not write /a/file: no space left on device; delete something on that disk, and try again.");
    EXPECT_THAT(text(EDQUOT), HasSubstr("; delete some of your files there, or have your quota raised."));
    EXPECT_THAT(text(EROFS), HasSubstr("read-only file system; make that file system writable"));
    EXPECT_THAT(text(EFBIG), HasSubstr("ulimit -f"));
    EXPECT_EQ(text(EACCES), "could not write /a/file: permission denied.");
}

TEST(FileError, NamesWhatIsNoFile) {
    const auto text = [](mode_t mode) { return errorText(FileError::noFile(mode, "could not read", "/a/file")); };
    EXPECT_EQ(text(S_IFIFO), "could not read /a/file, which is a pipe and not a file; move it away.");
    EXPECT_THAT(text(S_IFDIR), HasSubstr("which is a folder"));
    EXPECT_THAT(text(S_IFCHR), HasSubstr("which is a device"));
    EXPECT_THAT(text(S_IFSOCK), HasSubstr("which is a socket"));
    EXPECT_THAT(text(S_IFLNK), HasSubstr("which is a link"));
    EXPECT_EQ(FileError::noFile(S_IFDIR, "", "").code(), std::errc::is_a_directory);
}

} // namespace
} // namespace tavo
