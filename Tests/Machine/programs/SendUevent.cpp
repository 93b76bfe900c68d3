#include "Support/KernelEventSender.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <string_view>

/// Sends the event of a power supply that has changed: "kernel" through the kernel, as its own, and "port" to the same
/// listeners from this program's own port.
int main(int count, char** values) {
    const std::string_view way = count == 2 ? values[1] : "";
    try {
        const tavo::KernelEventSender sender;
        if (way == "kernel") {
            sender.sendThroughKernel(tavo::KernelEventSender::powerSupplyChange());
        } else if (way == "port") {
            sender.sendToGroup(tavo::KernelEventSender::powerSupplyChange());
        } else {
            fmt::print(stderr, "send-uevent: say kernel or port.\n");
            return 64;
        }
        return 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "send-uevent: {}\n", error.what());
        return 1;
    }
}
