#include "Support/WaitUntil.h"
#include "TavoPrivilegedHelper/linux/ListenerFixture.h"

namespace tavo {
namespace {

TEST_F(Listener, ServesASocketThatWasPassedToIt) {
    passSocket();
    const auto early = connectTo();
    send(early.get(), SocketFraming::request(R"({"ping":{}})").data(), SocketFraming::request(R"({"ping":{}})").size(),
         MSG_NOSIGNAL);
    begin({});
    EXPECT_EQ(ReplyFrameReader().add(readAll(early))->data, R"({"pong":{}})") << "of one that had connected before";
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    end();
    ASSERT_TRUE(std::filesystem::exists(path)) << "it belongs to somebody else";
    auto waiting = std::async(std::launch::async, [this] { return ping(); });
    begin({});
    EXPECT_EQ(waiting.get(), PrivilegedHelperResponse::pong()) << "the next helper serves who came in between";
}

TEST_F(Listener, WhoConnectsDuringAPauseWaits) {
    passSocket();
    begin({});
    inLoop([this] { listener->pause(); });
    const auto waiting = connectTo();
    // Rounds of the loop, in each of which it would be accepted.
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(openConnections(), 0U) << round;
    }
    const auto request = SocketFraming::request(R"({"ping":{}})");
    ASSERT_EQ(send(waiting.get(), request.data(), request.size(), MSG_NOSIGNAL), static_cast<ssize_t>(request.size()));
    inLoop([this] { listener->resume(); });
    EXPECT_EQ(ReplyFrameReader().add(readAll(waiting))->data, R"({"pong":{}})");
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong()) << "and on";
}

TEST_F(Listener, APauseThatEndsAtOnceLosesNothing) {
    inLoop([this] {
        listener->pause();
        listener->resume();
    });
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
}

TEST_F(Listener, OneThatWasAcceptedIsOpenOnceTheQueuedWorkIsDone) {
    passSocket();
    // A round is a helper that wants to exit while somebody connects: it either serves that one, or leaves it to the
    // next helper.
    for (int round = 0; round < 200; ++round) {
        begin({});
        auto caller = std::async(std::launch::async, [this] { return ping(); });
        std::promise<bool> mayExit;
        asio::post(loop, [&] {
            listener->pause();
            asio::post(loop, [&] { mayExit.set_value(listener->openConnections() == 0); });
        });
        if (!mayExit.get_future().get()) {
            inLoop([this] { listener->resume(); });
            ASSERT_EQ(caller.get(), PrivilegedHelperResponse::pong()) << round;
            end();
            continue;
        }
        end();
        begin({});
        ASSERT_EQ(caller.get(), PrivilegedHelperResponse::pong()) << round;
        end();
    }
    begin({});
}

TEST_F(Listener, TellsWhenAConnectionHasEnded) {
    std::atomic<int> ends = 0;
    std::atomic<std::size_t> open = 1;
    inLoop([&] {
        listener->onConnectionEnd([&] {
            open = listener->openConnections();
            ++ends;
        });
    });
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_TRUE(waitUntil([&] { return ends == 1; }));
    EXPECT_EQ(open, 0U) << "it does not count any more";
    inLoop([this] { listener->onConnectionEnd({}); });
}

} // namespace
} // namespace tavo
