#include "MachineStandIn.h"
#include "OpenDescriptors.h"
#include "Pieces.h"
#include "Require.h"
#include "Support/TemporaryDirectory.h"
#include "TavoPrivilegedHelper/linux/HelperConnection.h"
#include "base/JsonCoding.h"
#include "helper/linux/SocketFraming.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"
#include "system/linux/ProcessDescriptor.h"

#include <asio/io_context.hpp>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>

namespace tavo {
namespace {

/// What happens to the bytes between the two, in order: a letter and two numbers each.
class Disturbance {
public:
    explicit Disturbance(std::string_view steps) : steps(steps) {}

    /// Lower-case letters disturb the request, upper-case ones the reply.
    std::string applyTo(std::string bytes, bool isReply) const {
        for (std::size_t at = 0; at + 3 <= steps.size(); at += 3) {
            const char step = isReply ? static_cast<char>(steps[at] - 'A' + 'a') : steps[at];
            const std::size_t position = static_cast<unsigned char>(steps[at + 1]);
            const char value = steps[at + 2];
            if (step == 'm' && position < bytes.size()) {
                bytes[position] = static_cast<char>(bytes[position] ^ value);
            } else if (step == 'i') {
                bytes.insert(std::min(position, bytes.size()), 1, value);
            } else if (step == 't') {
                bytes.resize(std::min(position, bytes.size()));
            } else if (step == 'd' && position < bytes.size()) {
                bytes.erase(position, 1);
            }
        }
        return bytes;
    }

    /// The length of the pieces in which the request arrives; 0 for all at once.
    std::size_t pieceSize() const { return numberAfter('s').value_or(0); }

    bool hangsUpBeforeService() const { return numberAfter('h').has_value(); }
    bool hangsUpDuringService() const { return numberAfter('u').has_value(); }

private:
    std::optional<std::size_t> numberAfter(char letter) const {
        for (std::size_t at = 0; at + 3 <= steps.size(); at += 3) {
            if (steps[at] == letter) {
                return static_cast<unsigned char>(steps[at + 1]);
            }
        }
        return std::nullopt;
    }

    std::string_view steps;
};

std::optional<PrivilegedHelperCommand> commandOf(char letter) {
    const auto change = [](PMSetScope scope, bool disabled) {
        return PrivilegedHelperCommand::setSleepDisabled(scope, disabled);
    };
    switch (letter) {
    case 'p':
        return PrivilegedHelperCommand::ping();
    case 'r':
        return PrivilegedHelperCommand::resetSupport();
    case 'a':
    case 'A':
        return change(PMSetScope::ac, letter == 'a');
    case 'b':
    case 'B':
        return change(PMSetScope::battery, letter == 'b');
    case 'l':
    case 'L':
        return change(PMSetScope::all, letter == 'l');
    default:
        return std::nullopt;
    }
}

/// The body of a request by its layout, written down once more.
std::optional<std::string> bodyOf(std::string_view bytes) {
    constexpr std::size_t lengthSize = 4;
    constexpr std::size_t longest = 65536;
    if (bytes.size() < lengthSize) {
        return std::nullopt;
    }
    std::size_t length = 0;
    for (const char byte : bytes.substr(0, lengthSize)) {
        length = length * 256 + static_cast<unsigned char>(byte);
    }
    return length <= longest && bytes.size() - lengthSize >= length
               ? std::optional<std::string>(bytes.substr(lengthSize, length))
               : std::nullopt;
}

/// What came of a command for the client: an answer, or one of the documented errors.
struct Outcome {
    std::optional<PrivilegedHelperResponse> response;
    std::string error;
};

Outcome outcomeOf(std::future<PrivilegedHelperResponse> answer) {
    try {
        return {answer.get(), ""};
    } catch (const PrivilegedHelperClientError& error) {
        require(error.kind() != PrivilegedHelperClientError::Kind::timeout, "a connection that has ended is noticed");
        return {std::nullopt, error.description()};
    } catch (const DecodingError& error) {
        return {std::nullopt, error.description()};
    } catch (const std::system_error& error) {
        return {std::nullopt, error.what()};
    }
}

/// The helper's socket, at which this program stands between the two.
class MiddleMan {
public:
    MiddleMan() : listening(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
            listen(listening.get(), 1) != 0) {
            throw std::system_error(errno, std::generic_category(), "listen at " + path.string());
        }
    }

    /// Lets a client send a command. Then carries it to the helper, and the reply back, with what happens between them.
    void converse(MachineStandIn& machine, const PrivilegedHelperCommand& command, const Disturbance& disturbance) {
        auto answer = std::async(std::launch::async, [&] { return SocketPrivilegedHelperClient(path).send(command); });
        FileDescriptor client(accept(listening.get(), nullptr, nullptr));
        const auto request = receiveRequest(client, SocketFraming::request(command.encoded()).size());
        const auto disturbed = disturbance.applyTo(request, false);
        const auto reply = carry(machine, disturbed, disturbance);
        const auto disturbedReply = disturbance.applyTo(reply, true);
        send(client.get(), disturbedReply.data(), disturbedReply.size(), MSG_NOSIGNAL);
        client = FileDescriptor();
        const auto outcome = outcomeOf(std::move(answer));
        if (disturbedReply == reply) {
            checkOutcome(outcome, reply);
        }
    }

    const std::filesystem::path& folderPath() const { return folder.path(); }

private:
    static std::string receiveRequest(const FileDescriptor& client, std::size_t size) {
        std::string request(size, '\0');
        const auto count = recv(client.get(), request.data(), size, MSG_WAITALL);
        require(count == static_cast<ssize_t>(size), "a request is as long as its layout says");
        return request;
    }

    /// Gives the helper's reply; empty when it hangs up without one.
    std::string carry(MachineStandIn& machine, const std::string& request, const Disturbance& disturbance) {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0) {
            throw std::system_error(errno, std::generic_category(), "make a socket pair");
        }
        FileDescriptor own(ends[0]);
        fcntl(own.get(), F_SETFL, O_NONBLOCK);
        const auto isOpen = std::make_shared<int>();
        constexpr std::chrono::seconds noDeadline{3600};
        std::make_shared<HelperConnection>(
            asio::local::stream_protocol::socket(loop, asio::local::stream_protocol(), ends[1]), machine.service, peers,
            noDeadline, isOpen)
            ->begin();
        bool hasHungUpDuringService = false;
        if (disturbance.hangsUpDuringService()) {
            machine.setting->duringNextCall = [&] {
                own = FileDescriptor();
                hasHungUpDuringService = true;
            };
        }
        sendRequest(own, request, disturbance);
        auto reply = receiveReply(own);
        machine.setting->duringNextCall = nullptr;
        run();
        require(isOpen.use_count() == 1, "the helper keeps no connection");
        if (!disturbance.hangsUpBeforeService()) {
            account(machine, request, reply, hasHungUpDuringService);
        }
        return reply;
    }

    void sendRequest(FileDescriptor& own, std::string_view request, const Disturbance& disturbance) {
        if (disturbance.hangsUpBeforeService()) {
            send(own.get(), request.data(), request.size(), MSG_NOSIGNAL);
            own = FileDescriptor();
            return;
        }
        const auto pieceSize = disturbance.pieceSize() == 0 ? request.size() : disturbance.pieceSize();
        while (own && !request.empty()) {
            const auto piece = request.substr(0, pieceSize);
            request.remove_prefix(piece.size());
            send(own.get(), piece.data(), piece.size(), MSG_NOSIGNAL); // it may have replied and hung up
            run();
        }
        if (own) {
            shutdown(own.get(), SHUT_WR);
        }
    }

    std::string receiveReply(const FileDescriptor& own) {
        std::string reply;
        std::array<char, 4096> buffer;
        run();
        while (own) {
            const auto count = recv(own.get(), buffer.data(), buffer.size(), 0);
            if (count == 0 || (count < 0 && errno == ECONNRESET)) {
                break;
            }
            require(count > 0, "the helper replies or hangs up");
            reply.append(buffer.data(), static_cast<std::size_t>(count));
            run();
        }
        return reply;
    }

    void run() {
        loop.restart();
        while (loop.poll() > 0) {
        }
    }

    /// Enters what the helper has done, by its own reply, or by the request where nobody heard one.
    static void account(MachineStandIn& machine, const std::string& request, const std::string& replyBytes,
                        bool hasHungUpDuringService) {
        const auto command = understood(request);
        const auto* const change =
            command ? std::get_if<PrivilegedHelperCommand::SetSleepDisabled>(&command->value) : nullptr;
        if (hasHungUpDuringService) {
            require(change != nullptr, "only a change is carried out");
            if (change->disabled && !machine.setting->fails) {
                machine.began(change->scope);
            }
            machine.ended(change->scope);
            return;
        }
        const auto reply = ReplyFrameReader().add(replyBytes);
        const auto response =
            reply && reply->data ? std::optional(PrivilegedHelperResponse::decode(*reply->data)) : std::nullopt;
        require(response.has_value() == command.has_value(), "a command gets a response, and nothing else does");
        if (change == nullptr) {
            machine.expectedResets += response && command == PrivilegedHelperCommand::resetSupport() ? 1 : 0;
            return;
        }
        const bool isOk = *response == PrivilegedHelperResponse::ok();
        require(isOk || machine.setting->fails, "a change succeeds that the machine allows");
        if (!change->disabled) {
            machine.ended(change->scope);
        } else if (isOk) {
            machine.began(change->scope);
            require(machine.setting->inForce.contains(change->scope) || machine.setting->fails,
                    "an override that was granted is in force");
        }
    }

    static std::optional<PrivilegedHelperCommand> understood(const std::string& request) {
        try {
            const auto body = bodyOf(request);
            return body ? std::optional(PrivilegedHelperCommand::decode(*body)) : std::nullopt;
        } catch (const DecodingError&) {
            return std::nullopt;
        }
    }

    static void checkOutcome(const Outcome& outcome, const std::string& replyBytes) {
        const auto reply = ReplyFrameReader().add(replyBytes);
        if (reply && reply->data && !reply->message) {
            require(outcome.response == PrivilegedHelperResponse::decode(*reply->data), "the client has the response");
        } else {
            require(!outcome.response && !outcome.error.empty(), "the client has an error");
            require(!reply || outcome.error == reply->message, "the client has the helper's own words");
        }
    }

    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "socket";
    FileDescriptor listening;
    asio::io_context loop{1};
    std::shared_ptr<PeerIdentification> peers = std::make_shared<PeerIdentification>();
};

void happen(MachineStandIn& machine, MiddleMan& middle, char letter, std::string_view steps) {
    if (const auto command = commandOf(letter)) {
        middle.converse(machine, *command, Disturbance(steps));
    } else if (letter == 'k') {
        machine.endCaller();
    } else if (letter == 'w') {
        machine.letGraceRunOut();
    } else if (letter == 'c') {
        machine.turnLid();
    } else if (letter == 'f') {
        machine.turnFailure();
    }
    machine.check();
}

} // namespace
} // namespace tavo

/// A client and the helper talk over connections on which bytes change, come in pieces or stay away, and which break
/// at any moment: afterwards the overrides are those of the commands that arrived, and nothing is left open. Each piece
/// of the input is one conversation or one event.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static tavo::MiddleMan middle;
    static const auto self = tavo::ProcessIdentity{getpid(), tavo::startTicksOf(getpid()).value()};
    // The event loop makes its own descriptors with the first connection.
    static const bool isWarm = [] {
        tavo::MachineStandIn first(middle.folderPath(), self);
        tavo::happen(first, middle, 'p', "");
        return true;
    }();
    static_cast<void>(isWarm);
    const auto openBefore = tavo::openDescriptors();
    tavo::MachineStandIn machine(middle.folderPath(), self);
    constexpr std::size_t maxEvents = 12;
    const auto events = tavo::pieces({reinterpret_cast<const char*>(data), size});
    for (std::size_t index = 0; index < std::min(events.size(), maxEvents); ++index) {
        if (!events[index].empty()) {
            tavo::happen(machine, middle, events[index].front(), events[index].substr(1));
        }
    }
    tavo::require(tavo::openDescriptors() == openBefore, "no descriptor is left open");
    return 0;
}
