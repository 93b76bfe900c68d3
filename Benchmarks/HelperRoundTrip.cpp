// Talks to a running helper over its socket, as Tavo does:
//
//   helper-round-trip [ROUNDS]   the microseconds that a ping takes until the answer is there, and those of an empty round
//                                trip (a connection that says nothing and is answered so): medians, each taken in turn
//   helper-round-trip --hold     begins an override for all power sources, prints a line when it is in force, and waits

#include "base/FileDescriptor.h"
#include "helper/linux/HelperLocations.h"
#include "helper/linux/SocketPrivilegedHelperClient.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tavo {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int usualRounds = 500;

void makeEmptyRoundTrip() {
    const FileDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    HelperLocations::socket().native().copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        throw std::system_error(errno, std::generic_category(), "connect");
    }
    shutdown(connection.get(), SHUT_WR);
    std::array<char, 4096> buffer{};
    while (recv(connection.get(), buffer.data(), buffer.size(), 0) > 0) {
    }
}

void ping() {
    if (SocketPrivilegedHelperClient().send(PrivilegedHelperCommand::ping()) != PrivilegedHelperResponse::pong()) {
        throw std::runtime_error("the helper did not answer a ping with a pong");
    }
}

double microsecondsOf(void (*work)()) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void compareRoundTrips(int rounds) {
    std::vector<double> pings;
    std::vector<double> empty;
    for (int round = 0; round < rounds; ++round) {
        pings.push_back(microsecondsOf(ping));
        empty.push_back(microsecondsOf(makeEmptyRoundTrip));
    }
    fmt::print("{:.1f} {:.1f}\n", median(pings), median(empty));
}

void hold() {
    const auto begin = PrivilegedHelperCommand::setSleepDisabled(PMSetScope::all, true);
    if (SocketPrivilegedHelperClient().send(begin) != PrivilegedHelperResponse::ok()) {
        throw std::runtime_error("the helper did not begin an override");
    }
    fmt::print("in force\n");
    std::fflush(stdout);
    pause();
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    try {
        const std::string_view argument = count > 1 ? values[1] : "";
        if (argument == "--hold") {
            tavo::hold();
        } else {
            tavo::compareRoundTrips(argument.empty() ? tavo::usualRounds : std::max(1, std::stoi(values[1])));
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "helper-round-trip: {}\n", error.what());
        return 1;
    }
}
