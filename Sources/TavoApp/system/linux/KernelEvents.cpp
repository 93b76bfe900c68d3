#include "system/linux/KernelEvents.h"

#include "base/FileDescriptor.h"
#include "system/SignalFreeThread.h"

#include <linux/netlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <thread>
#include <utility>

namespace tavo {

namespace {

/// The multicast group of the kernel's own events; the other one is udev's.
constexpr unsigned kernelGroup = 1;

/// The kernel's buffer for one event has 2048 bytes for the properties and as many characters for the path at most.
constexpr std::size_t maxMessageSize = 8192;

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor openEventSocket() {
    FileDescriptor events(socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = kernelGroup;
    if (!events || bind(events.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throwErrno("could not listen to the kernel's device events");
    }
    return events;
}

/// Takes all messages that have come in. Says whether one of them may be about a power supply.
bool drain(int events) {
    bool hasPowerSupplyEvent = false;
    std::array<char, maxMessageSize> buffer{};
    while (true) {
        sockaddr_nl sender{};
        socklen_t senderLength = sizeof sender;
        const auto length =
            recvfrom(events, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&sender), &senderLength);
        if (length < 0 && errno == ENOBUFS) {
            hasPowerSupplyEvent = true; // some were lost, and nobody knows which
            continue;
        }
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length < 0) {
            return hasPowerSupplyEvent;
        }
        // Port 0 is the kernel's; a process that may send to the group has another.
        const bool isFromKernel = senderLength == sizeof sender && sender.nl_pid == 0;
        hasPowerSupplyEvent = hasPowerSupplyEvent ||
                              (isFromKernel && isPowerSupplyEvent({buffer.data(), static_cast<std::size_t>(length)}));
    }
}

class KernelEventWatch final : public PowerChangeWatch {
public:
    explicit KernelEventWatch(std::function<void()> observer)
        : events(openEventSocket()), stopping(eventfd(0, EFD_CLOEXEC)), observer(std::move(observer)) {
        if (!stopping) {
            throwErrno("could not watch the kernel's device events");
        }
        thread = startSignalFreeThread([this] { listen(); });
    }
    KernelEventWatch(const KernelEventWatch&) = delete;
    KernelEventWatch& operator=(const KernelEventWatch&) = delete;
    ~KernelEventWatch() override {
        const std::uint64_t one = 1;
        // Eight bytes into a fresh counter: there is nothing that could fail or be interrupted.
        [[maybe_unused]] const auto written = write(stopping.get(), &one, sizeof one);
        thread.join();
    }

private:
    void listen() const {
        std::array<pollfd, 2> waited{pollfd{events.get(), POLLIN, 0}, pollfd{stopping.get(), POLLIN, 0}};
        while (true) {
            const int count = poll(waited.data(), waited.size(), -1);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0 || waited[1].revents != 0) {
                return;
            }
            if (drain(events.get())) {
                observer();
            }
        }
    }

    FileDescriptor events;
    FileDescriptor stopping;
    std::function<void()> observer;
    std::thread thread;
};

} // namespace

bool isPowerSupplyEvent(std::string_view message) {
    constexpr std::string_view wanted = "SUBSYSTEM=power_supply";
    while (!message.empty()) {
        const auto end = message.find('\0');
        if (message.substr(0, end) == wanted) {
            return true;
        }
        message.remove_prefix(end == std::string_view::npos ? message.size() : end + 1);
    }
    return false;
}

std::unique_ptr<PowerChangeWatch> KernelPowerChanges::watch(std::function<void()> observer) {
    return std::make_unique<KernelEventWatch>(std::move(observer));
}

} // namespace tavo
