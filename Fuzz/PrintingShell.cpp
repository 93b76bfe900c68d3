#include "PrintingShell.h"

#include "Pieces.h"
#include "Require.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

/// Generous: a machine under load is no finding.
constexpr int boundMilliseconds = 60'000;

constexpr auto lastWord = "that was all";

std::pair<FileDescriptor, FileDescriptor> makePipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "make a pipe");
    }
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

void limit(int resource, rlim_t value) {
    const rlimit limits{value, value};
    setrlimit(resource, &limits);
}

/// In the child. Its folder is removed once it is there, so that nothing can be made in it.
[[noreturn]] void becomeShell(int in, int out) {
    constexpr uid_t nobody = 65534;
    std::string folder = "/tmp/tavo-shell-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr || chdir(folder.c_str()) != 0 || rmdir(folder.c_str()) != 0 ||
        dup2(in, STDIN_FILENO) < 0 || dup2(out, STDOUT_FILENO) < 0) {
        _exit(1);
    }
    if (geteuid() == 0 && (setregid(nobody, nobody) != 0 || setreuid(nobody, nobody) != 0)) {
        _exit(1);
    }
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NPROC, 0);
    std::string path = "/bin/sh";
    std::string locale = "LC_ALL=C";
    std::string search = "PATH=/nowhere";
    const std::array<char*, 2> arguments{path.data(), nullptr};
    const std::array<char*, 3> environment{locale.data(), search.data(), nullptr};
    execve(path.c_str(), arguments.data(), environment.data());
    _exit(1);
}

} // namespace

PrintingShell::PrintingShell() {
    auto [childInput, ownOutput] = makePipe();
    auto [ownInput, childOutput] = makePipe();
    std::signal(SIGPIPE, SIG_IGN);
    process = fork();
    if (process < 0) {
        throw std::system_error(errno, std::generic_category(), "start a shell");
    }
    if (process == 0) {
        becomeShell(childInput.get(), childOutput.get());
    }
    input = std::move(ownOutput);
    output = std::move(ownInput);
    // From now on neither a file nor a socket can be opened: those that are open have the numbers below.
    send("ulimit -n 3 || exit 1\n");
    require(print("ready", 1) == std::vector<std::string>{"ready"}, "the shell is confined");
}

PrintingShell::~PrintingShell() {
    input = FileDescriptor();
    waitpid(process, nullptr, 0);
}

void PrintingShell::send(const std::string& text) {
    std::size_t sent = 0;
    while (sent < text.size()) {
        const auto count = write(input.get(), text.data() + sent, text.size() - sent);
        require(count > 0 || errno == EINTR, "the shell still reads");
        sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

std::vector<std::string> PrintingShell::print(const std::string& line, std::size_t count) {
    send("printf '%s\\0' " + line + " '" + lastWord + "'\n");
    std::string printed;
    while (static_cast<std::size_t>(std::count(printed.begin(), printed.end(), '\0')) <= count) {
        pollfd ready{.fd = output.get(), .events = POLLIN, .revents = 0};
        require(poll(&ready, 1, boundMilliseconds) == 1, "the shell prints as many words as it got");
        std::array<char, 4096> buffer;
        const auto length = read(output.get(), buffer.data(), buffer.size());
        require(length > 0, "the shell does not end");
        printed.append(buffer.data(), static_cast<std::size_t>(length));
    }
    require(printed.ends_with(std::string(lastWord) + '\0'), "the shell prints no more words than it got");
    printed.resize(printed.size() - std::string_view(lastWord).size() - 2);
    std::vector<std::string> words;
    for (const auto word : pieces(printed, '\0')) {
        words.emplace_back(word);
    }
    return words;
}

} // namespace tavo
