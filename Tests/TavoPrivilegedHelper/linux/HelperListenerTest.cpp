#include "TavoPrivilegedHelper/linux/HelperListener.h"

#include "Support/WaitUntil.h"
#include "TavoPrivilegedHelper/linux/ListenerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <future>
#include <vector>

namespace tavo {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(Listener, AnswersTheClient) {
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_EQ(SocketPrivilegedHelperClient(path).send(PrivilegedHelperCommand::resetSupport()),
              PrivilegedHelperResponse::ok());
    EXPECT_EQ(resets, 1);
}

TEST_F(Listener, TiesAnOverrideToTheProcessThatConnected) {
    const auto command = PrivilegedHelperCommand::setSleepDisabled(PMSetScope::battery, true);
    EXPECT_EQ(SocketPrivilegedHelperClient(path).send(command), PrivilegedHelperResponse::ok());
    const auto record = SleepOverrideJournal(folder.path() / "overrides.json").load();
    ASSERT_EQ(record.overrides.size(), 1U);
    EXPECT_EQ(record.overrides[0].owner, PidfdProcessWatching(loop).identify(getpid()));
}

TEST_F(Listener, IsOpenToAllWhateverTheMask) {
    end();
    const auto before = umask(077);
    begin({});
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U);
}

TEST_F(Listener, TakesThePlaceOfASocketThatWasLeft) {
    end();
    {
        const FileDescriptor left(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
        ASSERT_EQ(bind(left.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }
    begin({});
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
}

TEST_F(Listener, ARequestMayComeInPieces) {
    const auto connection = connectTo();
    for (const char byte : SocketFraming::request(R"({"ping":{}})")) {
        ASSERT_EQ(send(connection.get(), &byte, 1, MSG_NOSIGNAL), 1);
    }
    const auto reply = ReplyFrameReader().add(readAll(connection));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->data, R"({"pong":{}})");
}

TEST_F(Listener, WhatIsTooLongOrNoCommandGetsAMessage) {
    EXPECT_THAT(replyTo("\0\x01\0\x01"s).message.value_or(""), HasSubstr("too long"));
    EXPECT_THAT(replyTo("\xFF\xFF\xFF\xFFx"s).message.value_or(""), HasSubstr("too long"));
    EXPECT_TRUE(replyTo(SocketFraming::request("{")).message);
    EXPECT_TRUE(replyTo(SocketFraming::request("")).message);
    EXPECT_TRUE(replyTo(SocketFraming::request(std::string(SocketFraming::maxBodySize, '['))).message);
    EXPECT_THAT(setting->log, IsEmpty());
}

TEST_F(Listener, ATruncatedRequestIsClosedWithItsSender) {
    for (const auto& bytes : {""s, "\0"s, "\0\0\0\x0B{\"ping\""s}) {
        auto connection = connectTo();
        send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        shutdown(connection.get(), SHUT_WR);
        EXPECT_EQ(readAll(connection), "");
    }
    EXPECT_TRUE(waitUntil([this] { return openConnections() == 0; }));
}

TEST_F(Listener, ASilentCallerIsClosedAtItsDeadlineAndHoldsNobodyUp) {
    const auto silent = connectTo();
    const auto slow = connectTo();
    send(slow.get(), "\0\0\0\x0B{", 5, MSG_NOSIGNAL);
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_EQ(readAll(silent), "");
    EXPECT_EQ(readAll(slow), "");
    EXPECT_TRUE(waitUntil([this] { return openConnections() == 0; }));
}

TEST_F(Listener, ACallerWhoseRequestArrivedWhileAnotherWasServedIsServedToo) {
    end();
    begin({.deadline = std::chrono::milliseconds(50), .connections = 1024});
    std::promise<void> isServing;
    std::promise<void> mayEnd;
    setting->onCall = [&] {
        isServing.set_value();
        mayEnd.get_future().wait();
    };
    const auto accepted = connectTo();
    ASSERT_TRUE(waitUntil([this] { return openConnections() == 1; }));
    auto answer = std::async(std::launch::async, [this] {
        return SocketPrivilegedHelperClient(path).send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true));
    });
    isServing.get_future().wait();
    const auto request = SocketFraming::request(R"({"ping":{}})");
    send(accepted.get(), request.data(), request.size(), MSG_NOSIGNAL);
    // Its deadline has passed by the time that the helper gets to it.
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(60);
    ASSERT_TRUE(waitUntil([&] { return std::chrono::steady_clock::now() > until; }));
    mayEnd.set_value();
    EXPECT_EQ(answer.get(), PrivilegedHelperResponse::ok());
    const auto reply = ReplyFrameReader().add(readAll(accepted));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->data, R"({"pong":{}})");
}

TEST_F(Listener, AnOverrideWhoseCallerHasStoppedWaitingEnds) {
    std::promise<void> isServing;
    std::promise<void> mayEnd;
    std::atomic<int> calls = 0;
    setting->onCall = [&] {
        if (++calls == 1) {
            isServing.set_value();
            mayEnd.get_future().wait();
        }
    };
    auto impatient = connectTo();
    const auto request = SocketFraming::request(R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
    ASSERT_EQ(send(impatient.get(), request.data(), request.size(), MSG_NOSIGNAL), ssize_t(request.size()));
    isServing.get_future().wait();
    // Another request waits in the socket until its sender has gone too.
    auto other = connectTo();
    const auto later = SocketFraming::request(R"({"setSleepDisabled":{"scope":"battery","disabled":true}})");
    ASSERT_EQ(send(other.get(), later.data(), later.size(), MSG_NOSIGNAL), ssize_t(later.size()));
    other = FileDescriptor();
    impatient = FileDescriptor();
    mayEnd.set_value();
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_TRUE(waitUntil([this] { return openConnections() == 0; }));
    end();
    EXPECT_THAT(setting->log, ElementsAre("apply ac", "apply none"));
    setting->onCall = nullptr;
    begin({});
}

TEST_F(Listener, AFloodMakesRoomAtItsDeadlines) {
    end();
    begin({.deadline = std::chrono::milliseconds(200), .connections = 8});
    std::vector<FileDescriptor> flood;
    for (int count = 0; count < 60; ++count) {
        flood.push_back(connectTo());
    }
    EXPECT_LE(openConnections(), 8U);
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
}

TEST_F(Listener, ManyAtOnceAreAllAnswered) {
    std::vector<std::future<PrivilegedHelperResponse>> answers;
    for (int count = 0; count < 40; ++count) {
        answers.push_back(std::async(std::launch::async, [this] { return ping(); }));
    }
    for (auto& answer : answers) {
        EXPECT_EQ(answer.get(), PrivilegedHelperResponse::pong());
    }
}

TEST_F(Listener, NoLivingOwnerLosesItsOverrideWhileConnectionsComeAndGo) {
    std::atomic<bool> isOver = false;
    std::vector<std::thread> visitors;
    for (int count = 0; count < 8; ++count) {
        visitors.emplace_back([&] {
            const auto request = SocketFraming::request(R"({"ping":{}})");
            // More than the helper waits for: its connection has news while it is being closed.
            while (!isOver) {
                const auto connection = connectTo();
                send(connection.get(), request.data(), request.size(), MSG_NOSIGNAL);
                while (send(connection.get(), "x", 1, MSG_NOSIGNAL) == 1) {
                }
            }
        });
    }
    SocketPrivilegedHelperClient client(path);
    for (int round = 0; round < 100; ++round) {
        for (const bool disabled : {true, false}) {
            EXPECT_EQ(client.send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, disabled)),
                      PrivilegedHelperResponse::ok());
        }
    }
    EXPECT_EQ(client.send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)),
              PrivilegedHelperResponse::ok());
    isOver = true;
    for (auto& visitor : visitors) {
        visitor.join();
    }
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_EQ(ends, 0) << "this process lives";
    EXPECT_EQ(SleepOverrideJournal(folder.path() / "overrides.json").load().overrides.size(), 1U);
}

TEST_F(Listener, RemovesItsSocketWhenItEnds) {
    end();
    EXPECT_FALSE(std::filesystem::exists(path));
    begin({});
}

} // namespace
} // namespace tavo
