#include "app/views/WindowRequests.h"

#include "base/FileDescriptor.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <QSocketNotifier>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

namespace tavo {

namespace {

/// In the user's runtime folder, and named after the lock file, since each configuration folder has its own Tavo.
/// @return nothing without such a folder, or if others have access to it.
std::optional<sockaddr_un> addressFor(const std::filesystem::path& lockFile) {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    struct stat folderStatus {};
    struct stat lockStatus {};
    if (folder == nullptr || *folder != '/' || stat(folder, &folderStatus) != 0 || !S_ISDIR(folderStatus.st_mode) ||
        folderStatus.st_uid != geteuid() || (folderStatus.st_mode & 0077U) != 0 ||
        stat(lockFile.c_str(), &lockStatus) != 0) {
        return std::nullopt;
    }
    const auto path = fmt::format("{}/com.vrd.tavo-{:x}-{:x}.socket", folder, lockStatus.st_dev, lockStatus.st_ino);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return std::nullopt;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

FileDescriptor makeSocket() {
    return FileDescriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

/// One datagram per request: no connection could be kept open, and there is nothing to wait for.
class Listener final : public WindowRequestListening {
public:
    Listener(FileDescriptor socket, const sockaddr_un& address, std::function<void(WindowRequest)> onRequest)
        : socket(std::move(socket)), address(address), onRequest(std::move(onRequest)),
          notifier(this->socket.get(), QSocketNotifier::Read) {
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] { receive(); });
    }

    ~Listener() override { unlink(address.sun_path); }

private:
    void receive() {
        std::array<char, WindowRequest::maxLength> text{};
        // Only large enough for the sender's credentials: the kernel closes descriptors that are sent along.
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> control{};
        iovec part{.iov_base = text.data(), .iov_len = text.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const auto length = recvmsg(socket.get(), &message, MSG_CMSG_CLOEXEC);
        if (length < 0 || (message.msg_flags & MSG_TRUNC) != 0 || !isFromUser(message)) {
            return;
        }
        if (auto request = WindowRequest::decoded({text.data(), static_cast<std::size_t>(length)})) {
            onRequest(std::move(*request));
        }
    }

    static bool isFromUser(msghdr& message) {
        const auto* const header = CMSG_FIRSTHDR(&message);
        if (header == nullptr || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_CREDENTIALS) {
            return false;
        }
        ucred sender{};
        std::memcpy(&sender, CMSG_DATA(header), sizeof sender);
        return sender.uid == geteuid();
    }

    FileDescriptor socket;
    sockaddr_un address;
    std::function<void(WindowRequest)> onRequest;
    QSocketNotifier notifier;
};

} // namespace

std::unique_ptr<WindowRequestListening> listenForWindowRequests(const std::filesystem::path& lockFile,
                                                                std::function<void(WindowRequest)> onRequest) {
    const auto address = addressFor(lockFile);
    auto socket = makeSocket();
    const int on = 1;
    if (!address || !socket || setsockopt(socket.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
        return nullptr;
    }
    // A killed process left it behind: only the holder of the lock listens.
    unlink(address->sun_path);
    if (fchmod(socket.get(), S_IRUSR | S_IWUSR) != 0 || bind(socket.get(), generic(*address), sizeof *address) != 0) {
        return nullptr;
    }
    return std::make_unique<Listener>(std::move(socket), *address, std::move(onRequest));
}

bool sendWindowRequest(const std::filesystem::path& lockFile, const WindowRequest& request) {
    const auto address = addressFor(lockFile);
    const auto socket = makeSocket();
    const auto message = request.encoded();
    return address && socket &&
           sendto(socket.get(), message.data(), message.size(), MSG_NOSIGNAL, generic(*address), sizeof *address) ==
               static_cast<ssize_t>(message.size());
}

} // namespace tavo
