#include "app/views/WindowRequests.h"

#include "Support/TemporaryDirectory.h"
#include "base/FileDescriptor.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <QTest>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace tavo {
namespace {

class WindowRequestsTest : public testing::Test {
protected:
    WindowRequestsTest() {
        chmod(folder.path().c_str(), 0700);
        setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
        lock = folder.write("tavo.lock", "1\n");
    }

    ~WindowRequestsTest() override { unsetenv("XDG_RUNTIME_DIR"); }

    void listen() {
        listener =
            listenForWindowRequests(lock, [this](WindowRequest request) { received.push_back(std::move(request)); });
    }

    std::vector<std::filesystem::path> sockets() const {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            if (entry.is_socket()) {
                found.push_back(entry.path());
            }
        }
        return found;
    }

    /// As a stranger's program would.
    void sendRaw(const std::string& text) const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, sockets().front().c_str()); // NOLINT: it was a socket's name
        const FileDescriptor sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sendto(sender.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }

    const TemporaryDirectory folder;
    std::filesystem::path lock;
    std::vector<WindowRequest> received;
    std::unique_ptr<WindowRequestListening> listener;
    const WindowRequest request{.activationToken = "token", .startupID = "name_TIME5"};
};

TEST_F(WindowRequestsTest, ASecondStartHandsItsTokenOver) {
    EXPECT_FALSE(sendWindowRequest(lock, request)) << "nobody listens";
    listen();
    EXPECT_TRUE(sendWindowRequest(lock, request));
    EXPECT_TRUE(QTest::qWaitFor([this] { return !received.empty(); }));
    EXPECT_EQ(received.at(0), request);
}

TEST_F(WindowRequestsTest, TheSocketIsTheUsersAloneAndGoesWithItsListener) {
    listen();
    ASSERT_EQ(sockets().size(), 1U);
    struct stat status {};
    ASSERT_EQ(stat(sockets().front().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    listener.reset();
    EXPECT_TRUE(sockets().empty());
    EXPECT_FALSE(sendWindowRequest(lock, request));
}

TEST_F(WindowRequestsTest, ASocketThatAKilledOneHasLeftIsReplaced) {
    listen();
    const auto path = sockets().front();
    std::filesystem::create_hard_link(path, folder.path() / "kept");
    listener.reset();
    std::filesystem::rename(folder.path() / "kept", path);
    EXPECT_FALSE(sendWindowRequest(lock, request)) << "nobody listens any more";
    listen();
    EXPECT_TRUE(sendWindowRequest(lock, request));
}

TEST_F(WindowRequestsTest, NonsenseIsIgnored) {
    listen();
    for (const auto& text : {std::string(), std::string("{"), std::string(WindowRequest::maxLength + 1, ' '),
                             std::string(100'000, 'x'), request.encoded().substr(1)}) {
        sendRaw(text);
    }
    sendRaw(request.encoded());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !received.empty(); }));
    EXPECT_EQ(received.size(), 1U);
}

TEST_F(WindowRequestsTest, AFolderThatOthersMayEnterIsNotUsed) {
    chmod(folder.path().c_str(), 0755);
    listen();
    EXPECT_EQ(listener, nullptr);
    unsetenv("XDG_RUNTIME_DIR");
    listen();
    EXPECT_EQ(listener, nullptr);
    EXPECT_FALSE(sendWindowRequest(lock, request));
}

} // namespace
} // namespace tavo
