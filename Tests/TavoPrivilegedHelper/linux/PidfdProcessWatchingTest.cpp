#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"

#include "Support/SleepingChild.h"

#include <asio/local/connect_pair.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <limits>

namespace tavo {
namespace {

class PidfdWatching : public testing::Test {
protected:
    asio::io_context loop;
    PidfdProcessWatching processes{loop};
    SleepingChild sleeper;
};

TEST_F(PidfdWatching, NamesAProcessByItsNumberAndStart) {
    const auto own = processes.identify(getpid());
    const auto other = processes.identify(sleeper.pid);
    ASSERT_TRUE(own && other);
    EXPECT_EQ(own->pid, getpid());
    EXPECT_GT(own->startTime, 0U);
    EXPECT_GE(other->startTime, own->startTime);
    EXPECT_EQ(processes.identify(sleeper.pid), other);
    EXPECT_FALSE(processes.identify(std::numeric_limits<pid_t>::max()));
}

TEST_F(PidfdWatching, TellsWhenAProcessEndsThoughNobodyHasReapedIt) {
    int exits = 0;
    const auto watch = processes.watchExit(*processes.identify(sleeper.pid), [&] { ++exits; });
    ASSERT_TRUE(watch);
    loop.poll();
    EXPECT_EQ(exits, 0);
    sleeper.end();
    loop.restart();
    loop.run();
    EXPECT_EQ(exits, 1);
}

TEST_F(PidfdWatching, AWatchMayGoWhileItTells) {
    std::unique_ptr<ProcessWatch> watch;
    bool hasTold = false;
    watch = processes.watchExit(*processes.identify(sleeper.pid), [&] {
        watch.reset();
        hasTold = true;
    });
    sleeper.end();
    loop.run();
    EXPECT_TRUE(hasTold);
}

TEST_F(PidfdWatching, ADestroyedWatchTellsNothing) {
    bool hasTold = false;
    auto watch = processes.watchExit(*processes.identify(sleeper.pid), [&] { hasTold = true; });
    watch.reset();
    sleeper.end();
    sleeper.reap();
    loop.run();
    EXPECT_FALSE(hasTold);
}

TEST_F(PidfdWatching, AProcessThatHasEndedOrIsAnotherCannotBeWatched) {
    const auto identity = *processes.identify(sleeper.pid);
    EXPECT_FALSE(processes.watchExit({identity.pid, identity.startTime + 1}, [] {}));
    sleeper.end();
    EXPECT_FALSE(processes.watchExit(identity, [] {})) << "ended, not reaped";
    sleeper.reap();
    EXPECT_FALSE(processes.watchExit(identity, [] {})) << "reaped";
}

/// Of two connections with news at once, the one that is handled first has the other one closed, and a watch made: the
/// event loop hands the closed one's event to the descriptor that comes after it.
TEST_F(PidfdWatching, AnEventThatWasMeantForAClosedConnectionIsNoEnd) {
    using Socket = asio::local::stream_protocol::socket;
    int exits = 0;
    std::unique_ptr<ProcessWatch> watch;
    std::array<Socket, 2> ours{Socket(loop), Socket(loop)};
    std::array<Socket, 2> theirs{Socket(loop), Socket(loop)};
    for (std::size_t index = 0; index < ours.size(); ++index) {
        asio::local::connect_pair(ours[index], theirs[index]);
        ours[index].async_wait(Socket::wait_read, [&, index](const asio::error_code&) {
            if (!watch) {
                ours[1 - index].close();
                watch = processes.watchExit(*processes.identify(sleeper.pid), [&] { ++exits; });
            }
        });
    }
    loop.poll();
    for (auto& socket : theirs) {
        asio::write(socket, asio::buffer("x", 1));
    }
    loop.restart();
    loop.poll();
    ASSERT_TRUE(watch);
    EXPECT_EQ(exits, 0) << "the process lives";
    sleeper.end();
    loop.restart();
    loop.run();
    EXPECT_EQ(exits, 1) << "the real end is still noticed";
}

} // namespace
} // namespace tavo
