#include "ScriptedBus.h"

#include "BusWire.h"
#include "Require.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace tavo {

namespace {

constexpr auto busName = "org.freedesktop.DBus";

void sendBytes(const FileDescriptor& client, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = send(client.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return; // the client has hung up, which it may
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool receiveMore(const FileDescriptor& client, std::string& received) {
    std::array<char, 4096> buffer;
    const auto count = recv(client.get(), buffer.data(), buffer.size(), 0);
    if (count > 0) {
        received.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

/// All in one piece, so that the descriptors come with the message's first byte.
void sendWithDescriptors(const FileDescriptor& client, std::string bytes, std::size_t count) {
    constexpr std::size_t most = 16;
    count = std::min(count, most);
    const FileDescriptor harmless(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::array<int, most> descriptors{};
    descriptors.fill(harmless.get());
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(descriptors))> control{};
    iovec content{.iov_base = bytes.data(), .iov_len = bytes.size()};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = CMSG_SPACE(count * sizeof(int));
    auto* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(count * sizeof(int));
    std::memcpy(CMSG_DATA(header), descriptors.data(), count * sizeof(int));
    const auto sent = sendmsg(client.get(), &message, MSG_NOSIGNAL);
    if (sent > 0) {
        sendBytes(client, std::string_view(bytes).substr(static_cast<std::size_t>(sent)));
    }
}

} // namespace

ScriptedBus::ScriptedBus() : listening(socket(AF_UNIX, SOCK_STREAM, 0)) {
    const auto path = (folder.path() / "bus").string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listening.get(), SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen at " + path);
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
    server = std::thread([this] { serve(); });
}

ScriptedBus::~ScriptedBus() {
    shutdown(listening.get(), SHUT_RDWR);
    server.join();
}

void ScriptedBus::serve() {
    for (;;) {
        {
            const FileDescriptor client(accept(listening.get(), nullptr, nullptr));
            if (!client) {
                return;
            }
            serveClient(client);
        }
        ++served;
        served.notify_all();
    }
}

void ScriptedBus::serveClient(const FileDescriptor& client) const {
    std::string received;
    for (bool hasBegun = false; !hasBegun;) {
        if (!receiveMore(client, received)) {
            return;
        }
        sendBytes(client, BusWire::answerAuthentication(received, hasBegun));
    }
    auto next = answers.begin();
    for (bool isGreeted = false;;) {
        const auto call = BusWire::takeMessage(received);
        if (!call) {
            if (!receiveMore(client, received)) {
                return;
            }
        } else if (!isGreeted) {
            isGreeted = true;
            answer(client, {.signature = "s", .content = BusBody().text(":1.7").bytes()}, call->header.serial);
        } else {
            // A client waits for ever for the rest of what is no message.
            const bool isLast = next->kind == Answer::Kind::bytes || next + 1 == answers.end();
            answer(client, *next++, call->header.serial);
            if (isLast) {
                return;
            }
        }
    }
}

void ScriptedBus::answer(const FileDescriptor& client, const Answer& answer, std::uint32_t serial) const {
    if (answer.kind == Answer::Kind::bytes) {
        sendBytes(client, answer.content);
        return;
    }
    const bool isError = answer.kind == Answer::Kind::error;
    const auto descriptors = std::count(answer.signature.begin(), answer.signature.end(), 'h');
    const auto bytes = BusWire::message({.type = isError ? BusWire::Type::error : BusWire::Type::answer,
                                         .serial = serial,
                                         .replySerial = serial,
                                         .errorName = answer.name,
                                         .sender = busName,
                                         .signature = answer.signature,
                                         .descriptors = static_cast<std::uint32_t>(descriptors)},
                                        answer.content);
    if (descriptors > 0) {
        sendWithDescriptors(client, bytes, static_cast<std::size_t>(descriptors));
    } else {
        sendBytes(client, bytes);
    }
}

void ScriptedBus::awaitEnd(std::size_t clients) const {
    for (auto now = served.load(); now < clients; now = served.load()) {
        served.wait(now);
    }
}

} // namespace tavo
