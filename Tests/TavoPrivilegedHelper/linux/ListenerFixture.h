#pragma once

#include "Support/ManualHelperTimers.h"
#include "Support/ScriptedSleepSetting.h"
#include "Support/TemporaryDirectory.h"
#include "TavoPrivilegedHelper/linux/HelperListener.h"
#include "TavoPrivilegedHelper/linux/PidfdProcessWatching.h"
#include "base/FileDescriptor.h"
#include "helper/linux/SocketFraming.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <functional>
#include <future>
#include <system_error>
#include <thread>

namespace tavo {

/// A helper that serves on a thread of its own.
class Listener : public testing::Test {
protected:
    void SetUp() override { begin({}); }

    void TearDown() override { end(); }

    void begin(HelperListener::Limits limits) {
        loop.restart();
        idle.emplace(loop.get_executor());
        keeper = std::make_shared<OverrideKeeper>(
            setting, SleepOverrideJournal(folder.path() / "overrides.json"),
            OverrideKeeper::Surroundings{
                .processes = processes,
                .timers = std::make_shared<ManualHelperTimers>(),
                .isLidClosed = [] { return false; },
                .log =
                    [this](const std::string& line) { ends += line.find("has ended") != std::string::npos ? 1 : 0; }});
        service = std::make_shared<HelperService>(
            keeper, [](uid_t) { return std::nullopt; }, [this] { ++resets; }, [](const std::string&) {});
        if (passed) {
            listener = std::make_unique<HelperListener>(loop, FileDescriptor(dup(passed.get())), service, peers);
        } else {
            listener = std::make_unique<HelperListener>(loop, path, service, peers, limits);
        }
        server = std::thread([this] { loop.run(); });
    }

    /// From now on helpers get a socket that somebody else listens on.
    void passSocket() {
        end();
        passed = FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
        ASSERT_EQ(bind(passed.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        ASSERT_EQ(listen(passed.get(), SOMAXCONN), 0);
    }

    /// Does something in the helper's own thread.
    void inLoop(const std::function<void()>& work) {
        std::promise<void> isDone;
        asio::post(loop, [&] {
            work();
            isDone.set_value();
        });
        isDone.get_future().wait();
    }

    void end() {
        std::promise<void> isClosed;
        asio::post(loop, [&] {
            listener.reset();
            isClosed.set_value();
        });
        isClosed.get_future().wait();
        idle.reset();
        loop.stop();
        server.join();
        service.reset();
        keeper.reset();
    }

    FileDescriptor connectTo() const {
        FileDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            throw std::system_error(errno, std::generic_category(), "connect");
        }
        return connection;
    }

    /// Whatever comes until the helper closes.
    static std::string readAll(const FileDescriptor& connection) {
        std::string all;
        std::array<char, 4096> buffer;
        for (;;) {
            const auto count = recv(connection.get(), buffer.data(), buffer.size(), 0);
            if (count <= 0) {
                return all;
            }
            all.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }

    /// The helper's answer to these bytes, sent in one piece.
    PrivilegedHelperReply replyTo(const std::string& bytes) const {
        const auto connection = connectTo();
        send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return ReplyFrameReader().add(readAll(connection)).value_or(PrivilegedHelperReply{});
    }

    PrivilegedHelperResponse ping() const {
        return SocketPrivilegedHelperClient(path).send(PrivilegedHelperCommand::ping());
    }

    std::size_t openConnections() {
        std::promise<std::size_t> count;
        asio::post(loop, [&] { count.set_value(listener->openConnections()); });
        return count.get_future().get();
    }

    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "socket";
    FileDescriptor passed;
    asio::io_context loop;
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> idle;
    std::shared_ptr<ScriptedSleepSetting> setting = std::make_shared<ScriptedSleepSetting>();
    std::shared_ptr<PidfdProcessWatching> processes = std::make_shared<PidfdProcessWatching>(loop);
    std::shared_ptr<PeerIdentification> peers = std::make_shared<PeerIdentification>();
    std::shared_ptr<OverrideKeeper> keeper;
    std::atomic<int> resets = 0;

    /// Of processes, as the keeper saw them.
    std::atomic<int> ends = 0;
    std::shared_ptr<HelperService> service;
    std::unique_ptr<HelperListener> listener;
    std::thread server;
};

} // namespace tavo
