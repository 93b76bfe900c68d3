#pragma once

#include "Support/WaitUntil.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>

namespace tavo {

/// A process of the test's own that runs on a terminal of its own.
class PseudoTerminal {
public:
    /// @param work  runs in that process; its result is the exit status.
    PseudoTerminal(unsigned short columns, unsigned short rows, const std::function<int()>& work)
        : terminal(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
            throw std::runtime_error("no terminal could be made");
        }
        resize(columns, rows);
        // Kept open, so that the terminal lives on after the process has ended.
        other = open(ptsname(terminal), O_RDWR | O_NOCTTY);
        tcgetattr(terminal, &before);
        child = fork();
        if (child == 0) {
            becomeForeground();
            _exit(work());
        }
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;
    ~PseudoTerminal() {
        if (child > 0) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        close(other);
        close(terminal);
    }

    pid_t pid() const { return child; }

    void resize(unsigned short columns, unsigned short rows) const {
        winsize size{};
        size.ws_col = columns;
        size.ws_row = rows;
        ioctl(terminal, TIOCSWINSZ, &size);
    }

    void type(char character) const {
        if (write(terminal, &character, 1) != 1) {
            throw std::runtime_error("nothing could be typed");
        }
    }

    /// Waits until the output since the last call contains the text; returns that output.
    std::string readUntil(const std::string& text) {
        std::string read;
        waitUntil([&] {
            readMore(read);
            return read.find(text) != std::string::npos;
        });
        return read;
    }

    /// The remaining output once the process has ended; sets `status`, see waitpid(2).
    std::string finish(int& status) {
        std::string read;
        waitUntil([&] {
            readMore(read);
            const auto found = waitpid(child, &status, WNOHANG);
            return found == child;
        });
        child = -1;
        readMore(read);
        return read;
    }

    /// Whether the terminal is set as it was before the process started.
    bool isSetAsBefore() const {
        termios now{};
        tcgetattr(terminal, &now);
        return now.c_lflag == before.c_lflag && now.c_iflag == before.c_iflag && now.c_oflag == before.c_oflag;
    }

    bool showsTyping() const {
        termios now{};
        tcgetattr(terminal, &now);
        return (now.c_lflag & static_cast<tcflag_t>(ECHO)) != 0;
    }

private:
    void becomeForeground() const {
        setsid();
        ioctl(other, TIOCSCTTY, 0);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(other, stream);
        }
        close(terminal);
    }

    void readMore(std::string& text) const {
        pollfd waiting{.fd = terminal, .events = POLLIN, .revents = 0};
        std::array<char, 4096> buffer{};
        while (poll(&waiting, 1, 10) > 0 && (waiting.revents & POLLIN) != 0) {
            const auto count = read(terminal, buffer.data(), buffer.size());
            if (count <= 0) {
                return;
            }
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }

    int terminal = -1;
    int other = -1;
    pid_t child = -1;
    termios before{};
};

} // namespace tavo
