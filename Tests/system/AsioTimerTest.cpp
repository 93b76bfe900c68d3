#include "system/AsioTimer.h"

#include <gtest/gtest.h>

#include <optional>

namespace tavo {
namespace {

using std::chrono::milliseconds;

TEST(AsioTimer, CallsItsFunctionOnceWhenItsTimeHasCome) {
    asio::io_context loop;
    int calls = 0;
    const auto start = std::chrono::steady_clock::now();
    const AsioTimer timer(loop, milliseconds{2}, [&] { ++calls; });
    EXPECT_EQ(calls, 0);
    loop.run();
    EXPECT_EQ(calls, 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds{2});
}

TEST(AsioTimer, CallsNothingOnceItIsDestroyed) {
    asio::io_context loop;
    int calls = 0;
    {
        const AsioTimer timer(loop, milliseconds{0}, [&] { ++calls; });
    }
    loop.run();
    EXPECT_EQ(calls, 0);
}

TEST(AsioTimer, CallsNothingWhenItIsDestroyedAfterItWasDue) {
    asio::io_context loop;
    int calls = 0;
    std::optional<AsioTimer> later;
    const AsioTimer first(loop, milliseconds{-2}, [&] { later.reset(); });
    later.emplace(loop, milliseconds{-1}, [&] { ++calls; });
    loop.run();
    EXPECT_EQ(calls, 0);
}

TEST(AsioTimer, MayBeDestroyedFromWithinItsFunction) {
    asio::io_context loop;
    std::optional<AsioTimer> timer;
    const std::string text(100, 'x');
    std::string seen;
    timer.emplace(loop, milliseconds{0}, [&, text] {
        timer.reset();
        seen = text;
    });
    loop.run();
    EXPECT_EQ(seen, text);
}

} // namespace
} // namespace tavo
