// Talks to the privileged helper in the ways that a test needs:
//
//   helper-client send JSON...  sends each text as a request of its own, and prints what comes back
//   helper-client hold SCOPE    begins an override, prints the response, and lives until its standard input ends
//   helper-client plans         begins overrides as a Tavo does whose plan changes, and lives on like hold
//   helper-client raw HEX       sends bytes as they are, and prints the reply
//   helper-client flood COUNT   opens this many connections at once, half of them silent, and pings the helper meanwhile
//   helper-client noise COUNT   sends this many hostile messages, and pings the helper now and then; the same ones for the
//                               same number in TAVO_SEED
//
// A reply is printed as "data TEXT", "message TEXT" or "closed".

#include "HostileMessages.h"
#include "base/FileDescriptor.h"
#include "helper/linux/SocketFraming.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"

#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace tavo {
namespace {

FileDescriptor connectToHelper() {
    FileDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    HelperLocations::socket().native().copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        throw std::system_error(errno, std::generic_category(), "connect");
    }
    return connection;
}

void sendAll(const FileDescriptor& connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return; // the helper has seen enough, and its reply says why
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::string replyText(const FileDescriptor& connection) {
    ReplyFrameReader reader;
    std::array<char, 4096> buffer;
    for (;;) {
        const auto count = recv(connection.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            return "closed";
        }
        if (const auto reply = reader.add({buffer.data(), static_cast<std::size_t>(count)})) {
            return reply->message ? "message " + *reply->message : "data " + reply->data.value_or("");
        }
    }
}

std::string exchange(std::string_view bytes) {
    const auto connection = connectToHelper();
    sendAll(connection, bytes);
    return replyText(connection);
}

/// Tavo's own client, with its bound.
void requirePong() {
    if (SocketPrivilegedHelperClient().send(PrivilegedHelperCommand::ping()) != PrivilegedHelperResponse::pong()) {
        throw std::runtime_error("the helper did not answer a ping with a pong");
    }
}

void hold(const std::string& scopeName) {
    const auto scope = fromRawValue<PMSetScope>(scopeName);
    if (!scope) {
        throw std::invalid_argument("no scope: " + scopeName);
    }
    const auto command = PrivilegedHelperCommand::setSleepDisabled(*scope, true);
    fmt::print("{}\n", SocketPrivilegedHelperClient().send(command).encoded());
    std::fflush(stdout);
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
}

/// Ends the old override before it begins the new one.
void changePlans() {
    SocketPrivilegedHelperClient client;
    for (const auto scope : {PMSetScope::all, PMSetScope::ac, PMSetScope::all}) {
        client.send(PrivilegedHelperCommand::setSleepDisabled(scope, true));
        client.send(PrivilegedHelperCommand::setSleepDisabled(scope, false));
    }
    fmt::print("{}\n", client.send(PrivilegedHelperCommand::setSleepDisabled(PMSetScope::ac, true)).encoded());
    std::fflush(stdout);
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
}

std::string fromHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t index = 0; index + 1 < hex.size(); index += 2) {
        unsigned value = 0;
        std::from_chars(hex.data() + index, hex.data() + index + 2, value, 16);
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

void flood(int count) {
    const rlimit descriptors{.rlim_cur = 4096, .rlim_max = 4096};
    setrlimit(RLIMIT_NOFILE, &descriptors);
    std::vector<FileDescriptor> connections;
    for (int index = 0; index < count; ++index) {
        connections.push_back(connectToHelper());
        if (index % 2 == 0) {
            sendAll(connections.back(), SocketFraming::request("nonsense"));
        }
    }
    requirePong();
    int answered = 0;
    for (const auto& connection : connections) {
        answered += replyText(connection).starts_with("message ") ? 1 : 0;
    }
    fmt::print("{} answered, {} closed\n", answered, count - answered);
}

/// What comes back for a hostile message.
std::string provoke(const HostileMessages::Message& message) {
    const auto connection = connectToHelper();
    for (const auto& piece : message.pieces) {
        sendAll(connection, piece);
    }
    if (!message.waitsForReply) {
        return "closed";
    }
    shutdown(connection.get(), SHUT_WR);
    return replyText(connection);
}

void makeNoise(int count) {
    constexpr int pingEvery = 1000;
    const char* const given = std::getenv("TAVO_SEED");
    const auto seed = given != nullptr ? std::stoul(given) : std::random_device()();
    fmt::print("TAVO_SEED={}\n", seed);
    HostileMessages messages(static_cast<std::uint32_t>(seed));
    int refused = 0;
    for (int index = 0; index < count; ++index) {
        const auto reply = provoke(messages.next());
        if (!reply.starts_with("message ") && reply != "closed") {
            throw std::runtime_error(fmt::format("message {} was carried out: {}", index, reply));
        }
        refused += reply == "closed" ? 0 : 1;
        if (index % pingEvery == 0) {
            requirePong();
        }
    }
    fmt::print("{} refused, {} closed\n", refused, count - refused);
}

void carryOut(const std::string& what, std::span<char*> arguments) {
    if (what == "plans") {
        changePlans();
    }
    for (const std::string argument : arguments) {
        if (what == "send") {
            fmt::print("{}\n", exchange(SocketFraming::request(argument)));
        } else if (what == "raw") {
            fmt::print("{}\n", exchange(fromHex(argument)));
        } else if (what == "hold") {
            hold(argument);
        } else if (what == "flood") {
            flood(std::stoi(argument));
        } else if (what == "noise") {
            makeNoise(std::stoi(argument));
        } else {
            throw std::invalid_argument("unknown: " + what);
        }
    }
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    try {
        tavo::carryOut(count > 1 ? values[1] : "",
                       std::span(values, static_cast<std::size_t>(count)).subspan(count > 1 ? 2 : 1));
    } catch (const std::exception& error) {
        fmt::print(stderr, "helper-client: {}\n", error.what());
        return 1;
    }
}
