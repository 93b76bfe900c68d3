#include "TavoPrivilegedHelper/linux/PeerIdentification.h"

#include "system/linux/ProcessDescriptor.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <functional>
#include <limits>

namespace tavo {
namespace {

/// A kernel from before SO_PEERPIDFD, which may give the caller's number to another process.
struct OldKernel final : PeerKernel {
    std::optional<FileDescriptor> peerDescriptor(int) const override { return std::nullopt; }

    FileDescriptor processDescriptor(pid_t pid) const override {
        auto descriptor = PeerKernel::processDescriptor(pid);
        afterOpening();
        return descriptor;
    }

    std::optional<std::uint64_t> startTicks(pid_t pid) const override {
        return laterStart ? laterStart : PeerKernel::startTicks(pid);
    }

    std::optional<uid_t> owner(pid_t pid) const override { return otherOwner ? otherOwner : PeerKernel::owner(pid); }

    std::function<void()> afterOpening = [] {};
    std::optional<std::uint64_t> laterStart;
    std::optional<uid_t> otherOwner;
};

class Peers : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> pair{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
        ours = FileDescriptor(pair[0]);
        theirs = FileDescriptor(pair[1]);
    }

    std::optional<IdentifiedPeer> identify() const { return newer.identify(ours.get(), acceptedAt); }
    std::optional<IdentifiedPeer> identifyOnOldKernel() const { return older.identify(ours.get(), acceptedAt); }

    /// A connection between two sockets of this process that a child made, which has ended since.
    void connectByAChildThatEnds() {
        const FileDescriptor listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        theirs = FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        // An abstract name that the kernel chooses: unix(7), "Autobind feature".
        ASSERT_EQ(bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(sa_family_t)), 0);
        ASSERT_EQ(listen(listening.get(), 1), 0);
        socklen_t size = sizeof(address);
        ASSERT_EQ(getsockname(listening.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
        child = fork();
        if (child == 0) {
            _exit(connect(theirs.get(), reinterpret_cast<const sockaddr*>(&address), size) == 0 ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
        ours = FileDescriptor(accept(listening.get(), nullptr, nullptr));
    }

    std::uint64_t acceptedAt = PeerIdentification::now();
    std::shared_ptr<OldKernel> kernel = std::make_shared<OldKernel>();
    PeerIdentification newer;
    PeerIdentification older{kernel};
    FileDescriptor ours;
    FileDescriptor theirs;
    pid_t child = 0;
};

TEST_F(Peers, TheProcessAtTheOtherEndIsNamed) {
    for (const auto& peer : {identify(), identifyOnOldKernel()}) {
        ASSERT_TRUE(peer);
        EXPECT_EQ(peer->caller.user, geteuid());
        EXPECT_EQ(peer->caller.process.pid, getpid());
        EXPECT_EQ(peer->caller.process.startTime, startTicksOf(getpid()));
        EXPECT_FALSE(hasEnded(peer->process));
    }
}

TEST_F(Peers, AProcessThatEndedHasNoNameThoughItsConnectionLivesOn) {
    connectByAChildThatEnds();
    EXPECT_FALSE(identify());
    EXPECT_FALSE(identifyOnOldKernel());
}

TEST_F(Peers, WithoutTheKernelsWordANumberThatBeganAfterTheConnectionIsAnother) {
    kernel->laterStart = acceptedAt + 1;
    EXPECT_FALSE(identifyOnOldKernel());
    kernel->laterStart = acceptedAt;
    EXPECT_TRUE(identifyOnOldKernel());
}

TEST_F(Peers, WithoutTheKernelsWordANumberOfAnotherUsersIsAnother) {
    kernel->otherOwner = geteuid() + 1;
    EXPECT_FALSE(identifyOnOldKernel());
}

TEST_F(Peers, WithoutTheKernelsWordACallerThatHangsUpMeanwhileIsNobody) {
    kernel->afterOpening = [this] { theirs.reset(); };
    EXPECT_FALSE(identifyOnOldKernel());
}

TEST_F(Peers, WithTheKernelsWordNoOtherIsNeeded) {
    theirs.reset();
    EXPECT_TRUE(identify()) << "whoever has closed its end is still who it is";
}

TEST_F(Peers, AProcessThatEndsWhileItIsLookedAtIsNobody) {
    const pid_t sleeper = fork();
    if (sleeper == 0) {
        pause();
        _exit(0);
    }
    struct EndingKernel final : PeerKernel {
        std::optional<FileDescriptor> peerDescriptor(int) const override { return openProcess(process); }
        std::optional<std::uint64_t> startTicks(pid_t) const override {
            kill(process, SIGKILL);
            siginfo_t info{};
            waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT);
            return 1;
        }
        pid_t process = 0;
    };
    const auto ending = std::make_shared<EndingKernel>();
    ending->process = sleeper;
    EXPECT_FALSE(PeerIdentification(ending).identify(ours.get(), acceptedAt));
    waitpid(sleeper, nullptr, 0);
}

TEST_F(Peers, TheOwnerIsTheEffectiveUserWhateverTheProcessCallsItself) {
    std::array<char, 16> before{};
    prctl(PR_GET_NAME, before.data());
    prctl(PR_SET_NAME, "Uid: 7 7 7 7");
    EXPECT_EQ(PeerKernel().owner(getpid()), geteuid());
    prctl(PR_SET_NAME, before.data());
    EXPECT_FALSE(PeerKernel().owner(std::numeric_limits<pid_t>::max()));
}

TEST_F(Peers, AnOpenEndHasNotHungUpAndAClosedOneHas) {
    EXPECT_FALSE(hasHungUp(ours.get()));
    shutdown(theirs.get(), SHUT_WR);
    EXPECT_FALSE(hasHungUp(ours.get())) << "it may still read";
    theirs.reset();
    EXPECT_TRUE(hasHungUp(ours.get()));
}

} // namespace
} // namespace tavo
