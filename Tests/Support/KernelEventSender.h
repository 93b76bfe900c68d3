#pragma once

#include "base/FileDescriptor.h"

#include <linux/netlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <system_error>

namespace tavo {

/// Sends device events as only root may. The kernel hands on what is sent to itself, as its own event of this network
/// namespace; what is sent to the group goes there with the sender's own port.
class KernelEventSender {
public:
    KernelEventSender() : socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT)) {
        sockaddr_nl own{};
        own.nl_family = AF_NETLINK;
        if (!socket || bind(socket.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
            throw std::system_error(errno, std::generic_category(), "netlink");
        }
    }

    void sendThroughKernel(const std::string& message) const {
        nlmsghdr header{};
        header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + message.size());
        header.nlmsg_type = NLMSG_MIN_TYPE;
        header.nlmsg_flags = NLM_F_REQUEST;
        std::string framed(sizeof header, '\0');
        std::memcpy(framed.data(), &header, sizeof header);
        send(framed + message, 0);
    }
    void sendToGroup(const std::string& message) const { send(message, 1); }

    /// The event of a power supply that has changed.
    static std::string powerSupplyChange() {
        using namespace std::string_literals;
        return "change@/devices/test/power_supply/BAT0\0ACTION=change\0DEVPATH=/devices/test/power_supply/BAT0\0"
               "SUBSYSTEM=power_supply\0"s;
    }

private:
    void send(const std::string& message, unsigned groups) const {
        sockaddr_nl address{};
        address.nl_family = AF_NETLINK;
        address.nl_groups = groups;
        if (sendto(socket.get(), message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                   sizeof address) < 0) {
            throw std::system_error(errno, std::generic_category(), "netlink");
        }
    }

    FileDescriptor socket;
};

} // namespace tavo
