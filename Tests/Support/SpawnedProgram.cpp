#include "Support/SpawnedProgram.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace tavo {
namespace {

struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "make a pipe");
    }
    return {ends[0], ends[1]};
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

} // namespace

SpawnedProgram::SpawnedProgram(const std::string& program, const Options& options) {
    const auto inputPipe = makePipe();
    const auto outputPipe = makePipe();
    const auto errorPipe = makePipe();
    if (options.smallOutput) {
        ::fcntl(outputPipe.writeEnd, F_SETPIPE_SZ, 1);
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    switch (options.input) {
    case Input::pipe:
        ::posix_spawn_file_actions_adddup2(&actions, inputPipe.readEnd, STDIN_FILENO);
        break;
    case Input::nullDevice:
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        break;
    case Input::closed:
        ::posix_spawn_file_actions_addclose(&actions, STDIN_FILENO);
        break;
    }
    ::posix_spawn_file_actions_adddup2(&actions, outputPipe.writeEnd, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errorPipe.writeEnd, STDERR_FILENO);

    auto words = options.arguments;
    words.insert(words.begin(), program);
    if (options.asOrdinaryUser && ::geteuid() == 0) {
        words.insert(words.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    }
    auto environment = options.environment;
    const auto result = ::posix_spawnp(&child, words.front().c_str(), &actions, nullptr, pointers(words).data(),
                                       pointers(environment).data());
    ::posix_spawn_file_actions_destroy(&actions);
    for (const auto descriptor : {inputPipe.readEnd, outputPipe.writeEnd, errorPipe.writeEnd}) {
        ::close(descriptor);
    }
    input = inputPipe.writeEnd;
    output = outputPipe.readEnd;
    errors = errorPipe.readEnd;
    if (result != 0) {
        closeInput();
        closeOutput();
        closeDescriptor(errors);
        throw std::system_error(result, std::generic_category(), "start " + program);
    }
    ::fcntl(output, F_SETFL, O_NONBLOCK);
    ::fcntl(errors, F_SETFL, O_NONBLOCK);
}

SpawnedProgram::~SpawnedProgram() {
    if (!exitStatus()) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    closeInput();
    closeOutput();
    closeDescriptor(errors);
}

void SpawnedProgram::writeInput(const std::string& text) const {
    if (::write(input, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::system_error(errno, std::generic_category(), "write to a program");
    }
}

void SpawnedProgram::signal(int number) const {
    if (!status) {
        ::kill(child, number);
    }
}

const std::string& SpawnedProgram::outputSoFar() {
    drain(output, collectedOutput);
    return collectedOutput;
}

const std::string& SpawnedProgram::errorsSoFar() {
    drain(errors, collectedErrors);
    return collectedErrors;
}

std::vector<std::string> SpawnedProgram::lines() {
    std::vector<std::string> result;
    std::string_view rest = outputSoFar();
    for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        result.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    return result;
}

std::optional<int> SpawnedProgram::exitStatus() {
    auto result = 0;
    if (!status && ::waitpid(child, &result, WNOHANG) == child) {
        status = WIFEXITED(result) ? WEXITSTATUS(result) : 128 + WTERMSIG(result);
    }
    return status;
}

void SpawnedProgram::closeDescriptor(int& descriptor) {
    if (descriptor >= 0) {
        ::close(descriptor);
        descriptor = -1;
    }
}

void SpawnedProgram::drain(int descriptor, std::string& into) {
    std::array<char, 4096> buffer{};
    while (descriptor >= 0) {
        const auto count = ::read(descriptor, buffer.data(), buffer.size());
        if (count <= 0) {
            return;
        }
        into.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace tavo
