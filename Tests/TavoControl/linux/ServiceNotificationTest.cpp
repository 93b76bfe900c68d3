#include "TavoControl/ServiceNotification.h"

#include "Support/TemporaryDirectory.h"
#include "base/FileDescriptor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <vector>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A service manager's socket.
class ServiceNotificationTest : public ::testing::Test {
protected:
    ~ServiceNotificationTest() override { unsetenv("NOTIFY_SOCKET"); }

    /// @param name  with @ in front for one of the abstract namespace.
    void listenAt(const std::string& name) {
        sockaddr_un address{.sun_family = AF_UNIX};
        ASSERT_LT(name.size(), sizeof address.sun_path);
        name.copy(address.sun_path, name.size());
        if (name.front() == '@') {
            address.sun_path[0] = '\0';
        }
        const auto length = offsetof(sockaddr_un, sun_path) + name.size();
        socket = FileDescriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        ASSERT_EQ(bind(socket.get(), reinterpret_cast<sockaddr*>(&address), static_cast<socklen_t>(length)), 0);
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
    }

    std::vector<std::string> received() const {
        std::vector<std::string> messages;
        std::array<char, 4096> buffer{};
        for (ssize_t size = 0; (size = recv(socket.get(), buffer.data(), buffer.size(), 0)) > 0;) {
            messages.emplace_back(buffer.data(), static_cast<std::size_t>(size));
        }
        return messages;
    }

    TemporaryDirectory folder;
    FileDescriptor socket;
};

TEST_F(ServiceNotificationTest, TheManagerIsToldInItsOwnWords) {
    for (const auto& name : {(folder.path() / "notify").string(), "@tavo-test-" + std::to_string(getpid())}) {
        listenAt(name);
        auto notification = ServiceNotification::fromEnvironment();
        notification.status("waiting for codex: starts when codex runs");
        notification.ready();
        notification.stopping();
        EXPECT_THAT(received(),
                    ElementsAre("STATUS=waiting for codex: starts when codex runs", "READY=1", "STOPPING=1"));
    }
}

TEST_F(ServiceNotificationTest, AStatusIsSentWhenItDiffers) {
    listenAt((folder.path() / "notify").string());
    auto notification = ServiceNotification::fromEnvironment();
    notification.status("one");
    notification.status("one");
    notification.status("two");
    EXPECT_THAT(received(), ElementsAre("STATUS=one", "STATUS=two"));
}

TEST_F(ServiceNotificationTest, NoChildInheritsTheAddress) {
    listenAt((folder.path() / "notify").string());
    auto notification = ServiceNotification::fromEnvironment();
    EXPECT_EQ(std::getenv("NOTIFY_SOCKET"), nullptr);
    EXPECT_EQ(std::system("test -z \"${NOTIFY_SOCKET+set}\""), 0);
    notification.ready();
    EXPECT_THAT(received(), ElementsAre("READY=1"));
}

TEST_F(ServiceNotificationTest, NobodyWhoAskedIsToldNothing) {
    listenAt((folder.path() / "notify").string());
    unsetenv("NOTIFY_SOCKET");
    auto notification = ServiceNotification::fromEnvironment();
    notification.ready();
    notification.status("one");
    notification.stopping();
    EXPECT_THAT(received(), IsEmpty());
}

TEST_F(ServiceNotificationTest, AnAddressThatLeadsNowhereIsNoFailure) {
    for (const auto& address : {std::string(), std::string("/"), std::string("relative"), std::string("vsock:2:1"),
                                "/" + std::string(4096, 'x'), (folder.path() / "nobody").string()}) {
        setenv("NOTIFY_SOCKET", address.c_str(), 1);
        auto notification = ServiceNotification::fromEnvironment();
        notification.ready();
        notification.status("one");
    }
}

} // namespace
} // namespace tavo
