#include "helper/linux/SocketPrivilegedHelperClient.h"

#include "Support/TemporaryDirectory.h"
#include "base/FileDescriptor.h"
#include "base/JsonCoding.h"
#include "helper/linux/SocketFraming.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <functional>
#include <future>
#include <system_error>
#include <thread>

namespace tavo {
namespace {

using namespace std::string_literals;

sockaddr_un addressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

FileDescriptor listenAt(const std::filesystem::path& path, int queueLength) {
    FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = addressOf(path);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener.get(), queueLength) != 0) {
        throw std::system_error(errno, std::generic_category(), "bind");
    }
    return listener;
}

/// A helper that does with each connection what the test says, on a thread of its own.
class ScriptedHelper {
public:
    using Conduct = std::function<void(int connection)>;

    ScriptedHelper(const std::filesystem::path& path, Conduct conduct, int connections = 1)
        : listener(listenAt(path, 8)) {
        server = std::thread([this, conduct = std::move(conduct), connections] {
            for (int served = 0; served < connections; ++served) {
                const FileDescriptor connection(accept(listener.get(), nullptr, nullptr));
                conduct(connection.get());
            }
        });
    }
    ScriptedHelper(const ScriptedHelper&) = delete;
    ScriptedHelper& operator=(const ScriptedHelper&) = delete;
    ~ScriptedHelper() { server.join(); }

private:
    FileDescriptor listener;
    std::thread server;
};

std::string readRequest(int connection) {
    RequestFrameReader reader;
    std::array<char, 256> buffer;
    for (;;) {
        const auto count = recv(connection, buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            return "";
        }
        if (auto body = reader.add({buffer.data(), static_cast<std::size_t>(count)})) {
            return *body;
        }
    }
}

void write(int connection, const std::string& bytes) {
    ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

ScriptedHelper::Conduct answering(const std::string& frame) {
    return [frame](int connection) {
        readRequest(connection);
        write(connection, frame);
    };
}

class SocketClient : public testing::Test {
protected:
    PrivilegedHelperResponse ping() { return client.send(PrivilegedHelperCommand::ping()); }

    /// The error number that a call ends with; 0 when it does not.
    int errorOfPing() {
        try {
            ping();
        } catch (const std::system_error& error) {
            return error.code().value();
        }
        return 0;
    }

    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "socket";
    SocketPrivilegedHelperClient client{path};
};

TEST_F(SocketClient, SendsTheCommandAndGivesTheResponse) {
    std::promise<std::string> request;
    ScriptedHelper helper(path, [&](int connection) {
        request.set_value(readRequest(connection));
        write(connection, SocketFraming::reply({R"({"ok":{}})", std::nullopt}));
    });
    EXPECT_EQ(client.send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)),
              PrivilegedHelperResponse::ok());
    EXPECT_EQ(request.get_future().get(), R"({"setSleepDisabled":{"scope":"ac","disabled":true}})");
}

TEST_F(SocketClient, OpensAConnectionForEachCall) {
    ScriptedHelper helper(path, answering(SocketFraming::reply({R"({"pong":{}})", std::nullopt})), 2);
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
}

TEST_F(SocketClient, AReplyMayComeInPieces) {
    ScriptedHelper helper(path, [](int connection) {
        readRequest(connection);
        for (const char byte : SocketFraming::reply({R"({"pong":{}})", std::nullopt})) {
            write(connection, std::string(1, byte));
        }
    });
    EXPECT_EQ(ping(), PrivilegedHelperResponse::pong());
}

TEST_F(SocketClient, AResponseThatSaysErrorIsGiven) {
    const auto error = PrivilegedHelperResponse::error("pmset returned 1.");
    ScriptedHelper helper(path, answering(SocketFraming::reply({error.encoded(), std::nullopt})));
    EXPECT_EQ(ping(), error);
}

TEST_F(SocketClient, AMessageIsAnErrorAlsoWhenItIsEmptyAndThereIsData) {
    ScriptedHelper helper(path, answering(SocketFraming::reply({R"({"pong":{}})", ""})));
    try {
        ping();
        FAIL() << "nothing was thrown";
    } catch (const PrivilegedHelperClientError& error) {
        EXPECT_EQ(error, PrivilegedHelperClientError::transportError(""));
    }
}

TEST_F(SocketClient, ARefusalIsHeardThoughTheCommandWasNeverRead) {
    ScriptedHelper helper(path, [](int connection) {
        write(connection, SocketFraming::reply({std::nullopt, "not you."}));
        shutdown(connection, SHUT_RDWR);
    });
    try {
        ping();
        FAIL() << "nothing was thrown";
    } catch (const PrivilegedHelperClientError& error) {
        EXPECT_EQ(error, PrivilegedHelperClientError::transportError("not you."));
    }
}

TEST_F(SocketClient, AReplyThatIsNoResponseIsADecodingError) {
    for (const auto* body : {"{}", R"({"ok":{},"pong":{}})"}) {
        std::filesystem::remove(path);
        ScriptedHelper helper(path, answering(SocketFraming::reply({body, std::nullopt})));
        try {
            ping();
            FAIL() << "nothing was thrown";
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.debugDescription(), "Invalid number of keys found, expected one.");
        }
    }
}

TEST_F(SocketClient, WhatIsNoReplyIsAnInvalidResponse) {
    for (const auto& bytes :
         {""s, "\0"s, "\x01\0\0"s, "\x01\0\0\0\x05pong"s, "\xFFgarbage"s, "\x01\xFF\xFF\xFF\xFF"s}) {
        std::filesystem::remove(path);
        ScriptedHelper helper(path, answering(bytes));
        try {
            ping();
            FAIL() << "nothing was thrown";
        } catch (const PrivilegedHelperClientError& error) {
            EXPECT_EQ(error, PrivilegedHelperClientError::invalidResponse());
        }
    }
}

TEST_F(SocketClient, NobodyListeningIsTheConnectionsOwnErrorAtOnce) {
    EXPECT_EQ(errorOfPing(), ENOENT);
    {
        ScriptedHelper gone(
            path, [](int) {}, 0);
    }
    EXPECT_EQ(errorOfPing(), ECONNREFUSED);
}

TEST_F(SocketClient, ASocketOfAnotherUserIsASentenceWithAWayOut) {
    const FileDescriptor listener = listenAt(path, 1);
    std::filesystem::permissions(folder.path(),
                                 std::filesystem::perms::owner_all | std::filesystem::perms::others_exec);
    std::filesystem::permissions(path, std::filesystem::perms::none);
    const bool isRoot = geteuid() == 0; // who may connect to everything
    ASSERT_TRUE(!isRoot || seteuid(65534) == 0);
    std::string message;
    try {
        ping();
    } catch (const PrivilegedHelperClientError& error) {
        message = error.description();
    }
    ASSERT_TRUE(!isRoot || seteuid(0) == 0);
    EXPECT_NE(message.find("not granted to this user"), std::string::npos) << message;
    EXPECT_NE(message.find("tavoctl helper install"), std::string::npos);
}

TEST_F(SocketClient, APathThatNoSocketCanHaveIsAnError) {
    SocketPrivilegedHelperClient far(folder.path() / std::string(200, 'x'));
    EXPECT_THROW(far.send(PrivilegedHelperCommand::ping()), std::system_error);
}

TEST_F(SocketClient, AHelperThatSaysNothingIsWaitedForNoLongerThanTheBound) {
    std::promise<void> given;
    ScriptedHelper helper(path, [ended = given.get_future().share()](int connection) {
        readRequest(connection);
        ended.wait();
    });
    try {
        ping();
        FAIL() << "nothing was thrown";
    } catch (const PrivilegedHelperClientError& error) {
        EXPECT_EQ(error, PrivilegedHelperClientError::timeout());
    }
    given.set_value();
}

TEST_F(SocketClient, AFullQueueIsWaitedFor) {
    const FileDescriptor listener = listenAt(path, 1);
    std::vector<FileDescriptor> queued;
    while (true) {
        FileDescriptor idle(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        const auto address = addressOf(path);
        if (connect(idle.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            ASSERT_EQ(errno, EAGAIN);
            break;
        }
        queued.push_back(std::move(idle));
    }
    auto answer = std::async(std::launch::async, [this] { return ping(); });
    EXPECT_EQ(answer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    queued.clear();
    std::string request;
    while (request.empty()) {
        const FileDescriptor connection(accept(listener.get(), nullptr, nullptr));
        request = readRequest(connection.get());
        write(connection.get(), SocketFraming::reply({R"({"pong":{}})", std::nullopt}));
    }
    EXPECT_EQ(answer.get(), PrivilegedHelperResponse::pong());
}

} // namespace
} // namespace tavo
