#include "TavoPrivilegedHelper/linux/PassedSocket.h"

#include "Support/TemporaryDirectory.h"
#include "TavoPrivilegedHelper/HelperMain.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace tavo {
namespace {

class Passed : public testing::Test {
protected:
    FileDescriptor bound(int type = SOCK_STREAM) const {
        FileDescriptor descriptor(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            throw std::system_error(errno, std::generic_category(), "bind");
        }
        return descriptor;
    }

    FileDescriptor listening() const {
        auto descriptor = bound();
        listen(descriptor.get(), 1);
        return descriptor;
    }

    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "socket";
};

TEST_F(Passed, TheOwnerOfTheSocketsFileIsTheUserToServe) {
    auto descriptor = listening();
    const int number = descriptor.get();
    uid_t owner = geteuid();
    if (owner == 0) {
        owner = 1000;
        ASSERT_EQ(lchown(path.c_str(), owner, owner), 0);
    }
    const auto passed = PassedSocket::of(std::move(descriptor));
    EXPECT_EQ(passed.owner, owner);
    EXPECT_EQ(passed.descriptor.get(), number);
}

TEST_F(Passed, OneThatDoesNotListenIsRefused) {
    EXPECT_THROW(PassedSocket::of(bound()), HelperUsageError);
}

TEST_F(Passed, OneOfAnotherKindIsRefused) {
    EXPECT_THROW(PassedSocket::of(bound(SOCK_DGRAM)), HelperUsageError);
    int pipes[2];
    ASSERT_EQ(pipe2(pipes, O_CLOEXEC), 0);
    const FileDescriptor writing(pipes[1]);
    EXPECT_THROW(PassedSocket::of(FileDescriptor(pipes[0])), HelperUsageError);
}

TEST_F(Passed, OneWithoutAPathIsRefused) {
    FileDescriptor nameless(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_THROW(PassedSocket::of(std::move(nameless)), HelperUsageError);
    FileDescriptor abstract(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sa_family_t family = AF_UNIX; // unix(7), "autobind"
    ASSERT_EQ(bind(abstract.get(), reinterpret_cast<const sockaddr*>(&family), sizeof(family)), 0);
    ASSERT_EQ(listen(abstract.get(), 1), 0);
    EXPECT_THROW(PassedSocket::of(std::move(abstract)), HelperUsageError);
}

TEST_F(Passed, OneWhosePathHoldsSomethingElseIsRefused) {
    auto descriptor = listening();
    std::filesystem::remove(path);
    folder.write("other", "");
    std::filesystem::create_symlink(folder.path() / "other", path);
    EXPECT_THROW(PassedSocket::of(std::move(descriptor)), HelperUsageError);
    descriptor = [&] {
        std::filesystem::remove(path);
        return listening();
    }();
    std::filesystem::remove(path);
    EXPECT_THROW(PassedSocket::of(std::move(descriptor)), std::system_error);
}

TEST_F(Passed, WithoutOneTheUnitToStartIsNamed) {
    unsetenv("LISTEN_FDS");
    try {
        PassedSocket::take();
        FAIL() << "nothing was thrown";
    } catch (const HelperUsageError& error) {
        EXPECT_NE(error.description().find("com.vrd.tavo.helper.socket"), std::string::npos) << error.description();
    }
}

} // namespace
} // namespace tavo
