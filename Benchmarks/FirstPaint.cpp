// first-paint WIDTH HEIGHT COMMAND...
//
// Starts a program and stops it (SIGSTOP) as soon as a window of that size shows anything but one colour. Prints what the
// program has cost until then: its proportional memory in KiB and its CPU time in microseconds, that of all its threads.
// Ends the program then. Needs an X server without a window manager.

#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{30};
constexpr std::chrono::milliseconds pause{2};

struct Freed {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using Owned = std::unique_ptr<Reply, Freed>;

struct Size {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

/// Looks at the windows of a display.
class Screen {
public:
    Screen() : connection(xcb_connect(nullptr, nullptr), xcb_disconnect) {
        if (xcb_connection_has_error(connection.get()) != 0) {
            throw std::runtime_error("there is no X server");
        }
        root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    }

    bool showsPaintedWindow(const Size& size) const {
        auto* const server = connection.get();
        const Owned<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(server, xcb_query_tree(server, root), nullptr));
        if (!tree) {
            return false;
        }
        const std::span windows(xcb_query_tree_children(tree.get()),
                                static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
        return std::any_of(windows.begin(), windows.end(),
                           [&](xcb_window_t window) { return isShown(window, size) && isPainted(window, size); });
    }

private:
    bool isShown(xcb_window_t window, const Size& size) const {
        auto* const server = connection.get();
        const Owned<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(server, xcb_get_geometry(server, window), nullptr));
        const Owned<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(server, xcb_get_window_attributes(server, window), nullptr));
        return geometry && attributes && geometry->width == size.width && geometry->height == size.height &&
               attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    /// Looks at one line down the middle: before it is painted, a window shows what was there before.
    bool isPainted(xcb_window_t window, const Size& size) const {
        auto* const server = connection.get();
        const auto middle = static_cast<std::int16_t>(size.width / 2);
        const Owned<xcb_get_image_reply_t> image(xcb_get_image_reply(
            server, xcb_get_image(server, XCB_IMAGE_FORMAT_Z_PIXMAP, window, middle, 0, 1, size.height, ~0U), nullptr));
        if (!image) {
            return false;
        }
        const std::span bytes(xcb_get_image_data(image.get()),
                              static_cast<std::size_t>(xcb_get_image_data_length(image.get())));
        return std::any_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
    }

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection;
    xcb_window_t root = 0;
};

/// A program that does not outlive this one's interest in it.
class Program {
public:
    explicit Program(char** words) {
        const int error = posix_spawnp(&process, words[0], nullptr, nullptr, words, environ);
        if (error != 0) {
            throw std::system_error(error, std::generic_category(), words[0]);
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        if (process > 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
    }

    bool hasEnded() {
        if (process > 0 && waitpid(process, nullptr, WNOHANG) == process) {
            process = -1;
        }
        return process < 0;
    }

    void stop() const {
        int status = 0;
        if (kill(process, SIGSTOP) != 0 || waitpid(process, &status, WUNTRACED) != process || !WIFSTOPPED(status)) {
            throw std::runtime_error("the program cannot be stopped");
        }
    }

    /// Asked to end, so that it can tidy up.
    void end() const {
        kill(process, SIGTERM);
        kill(process, SIGCONT);
    }

    double cpuMicroseconds() const {
        clockid_t clock{};
        timespec time{};
        if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
            throw std::runtime_error("its CPU time cannot be read");
        }
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
    }

    std::uint64_t proportionalKiB() const {
        std::ifstream file(fmt::format("/proc/{}/smaps_rollup", process));
        for (std::string word; file >> word;) {
            std::uint64_t value = 0;
            if (word == "Pss:" && file >> value) {
                return value;
            }
        }
        throw std::runtime_error("its memory cannot be read");
    }

private:
    pid_t process = -1;
};

Size parseSize(const char* width, const char* height) {
    return {static_cast<std::uint16_t>(std::stoul(width)), static_cast<std::uint16_t>(std::stoul(height))};
}

void measure(const Size& size, char** words) {
    const Screen screen;
    const auto deadline = Clock::now() + patience;
    Program program(words);
    while (!screen.showsPaintedWindow(size)) {
        if (program.hasEnded() || Clock::now() > deadline) {
            throw std::runtime_error("the program has shown no window of that size");
        }
        std::this_thread::sleep_for(pause);
    }
    program.stop();
    fmt::print("{} {:.0f}\n", program.proportionalKiB(), program.cpuMicroseconds());
    program.end();
    while (!program.hasEnded() && Clock::now() < deadline) {
        std::this_thread::sleep_for(pause);
    }
}

} // namespace

int main(int count, char** values) {
    if (count < 4) {
        fmt::print(stderr, "usage: first-paint WIDTH HEIGHT COMMAND...\n");
        return 64;
    }
    try {
        measure(parseSize(values[1], values[2]), values + 3);
    } catch (const std::exception& error) {
        fmt::print(stderr, "first-paint: {}\n", error.what());
        return 1;
    }
}
