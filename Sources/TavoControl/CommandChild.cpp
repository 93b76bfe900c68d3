#include "TavoControl/CommandChild.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <system_error>

// POSIX leaves the declaration to the program, environ(7).
extern char** environ; // NOLINT(readability-redundant-declaration): glibc declares it for GNU programs only

namespace tavo {

namespace {

/// Signals that this program ignores for itself alone. Handled ones become default again in a child by themselves.
constexpr std::array ownIgnoredSignals{SIGPIPE, SIGTTOU};

/// posix_spawn(3) takes pointers to non-const and writes through none of them.
std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const auto& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

struct SpawnSettings {
    explicit SpawnSettings(const InheritedConditions& conditions) {
        if (posix_spawn_file_actions_init(&actions) != 0 || posix_spawnattr_init(&attributes) != 0) {
            throw std::system_error(ENOMEM, std::generic_category());
        }
        for (std::size_t stream = 0; stream < conditions.isStreamClosed.size(); ++stream) {
            if (conditions.isStreamClosed[stream]) {
                posix_spawn_file_actions_addclose(&actions, static_cast<int>(stream));
            }
        }
        sigset_t defaulted;
        sigemptyset(&defaulted);
        for (const int signal : ownIgnoredSignals) {
            if (!conditions.isIgnored(signal)) {
                sigaddset(&defaulted, signal);
            }
        }
        posix_spawnattr_setsigdefault(&attributes, &defaulted);
        posix_spawnattr_setsigmask(&attributes, &conditions.signalMask);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }

    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
};

/// The file that execvp(3) would run for a name.
std::string fileInPath(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const char* const path = std::getenv("PATH");
    std::string_view rest = path == nullptr ? "/usr/bin:/bin" : path;
    while (true) {
        const auto end = rest.find(':');
        const std::string folder(rest.substr(0, end));
        const auto file = (folder.empty() ? "." : folder) + "/" + name;
        if (access(file.c_str(), X_OK) == 0) {
            return file;
        }
        if (end == std::string_view::npos) {
            return name;
        }
        rest.remove_prefix(end + 1);
    }
}

} // namespace

InheritedConditions InheritedConditions::capture() {
    InheritedConditions conditions;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        conditions.environment.emplace_back(*entry);
    }
    sigprocmask(SIG_SETMASK, nullptr, &conditions.signalMask);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            conditions.ignoredSignals.push_back(signal);
        }
    }
    for (std::size_t stream = 0; stream < conditions.isStreamClosed.size(); ++stream) {
        conditions.isStreamClosed[stream] = fcntl(static_cast<int>(stream), F_GETFD) < 0;
    }
    return conditions;
}

bool InheritedConditions::isIgnored(int signal) const {
    return std::find(ignoredSignals.begin(), ignoredSignals.end(), signal) != ignoredSignals.end();
}

CommandChild::CommandChild(const std::vector<std::string>& words, const InheritedConditions& conditions) {
    const SpawnSettings settings(conditions);
    const auto environment = pointersTo(conditions.environment);
    int error = posix_spawnp(&child, words.front().c_str(), &settings.actions, &settings.attributes,
                             pointersTo(words).data(), environment.data());
    if (error == ENOEXEC) {
        auto script = words;
        script.front() = fileInPath(words.front());
        script.insert(script.begin(), "sh");
        error = posix_spawn(&child, "/bin/sh", &settings.actions, &settings.attributes, pointersTo(script).data(),
                            environment.data());
    }
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), words.front());
    }
}

std::optional<CommandChild::Event> CommandChild::nextEvent() {
    if (hasExited) {
        return std::nullopt;
    }
    int status = 0;
    if (waitpid(child, &status, WNOHANG | WUNTRACED | WCONTINUED) != child) {
        return std::nullopt;
    }
    if (WIFSTOPPED(status)) {
        return Event{.change = Change::stopped, .status = WSTOPSIG(status)};
    }
    if (WIFCONTINUED(status)) {
        return Event{.change = Change::continued};
    }
    hasExited = true;
    return Event{.change = Change::exited,
                 .status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status)};
}

void CommandChild::signal(int number) const noexcept {
    if (!hasExited) {
        kill(child, number);
    }
}

int statusOfUnstartable(int error) {
    return error == ENOENT || error == ENOTDIR ? 127 : 126;
}

} // namespace tavo
