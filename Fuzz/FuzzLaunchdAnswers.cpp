#include "Pieces.h"
#include "Require.h"
#include "Support/ScriptedCommandRunner.h"
#include "Support/TemporaryDirectory.h"
#include "base/Text.h"
#include "helper/macos/LaunchDaemonSetup.h"
#include "login/macos/LaunchAgent.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

constexpr std::size_t maxPrints = 51;

/// The answers of launchctl, one by one; success when they are used up.
class Answers {
public:
    explicit Answers(std::deque<ShellCommandResult> results) : results(std::move(results)) {}

    ShellCommandResult next() {
        ++used;
        if (results.empty()) {
            return {};
        }
        auto result = results.front();
        results.pop_front();
        return result;
    }

    /// The questions until launchd knows the job no more, which are bounded.
    void askUntilForgotten() {
        for (std::size_t prints = 1; next().exitCode == 0 && prints < maxPrints; ++prints) {
        }
    }

    std::size_t used = 0;

private:
    std::deque<ShellCommandResult> results;
};

/// The sentence with which a job could not be loaded; nothing when it was.
std::optional<std::string> failureOf(const ShellCommandResult& bootstrap) {
    if (bootstrap.exitCode == 0) {
        return std::nullopt;
    }
    return bootstrap.standardError.empty()
               ? "launchctl bootstrap failed with exit code " + std::to_string(bootstrap.exitCode) + "."
               : bootstrap.standardError;
}

template <typename Work>
std::optional<std::string> failureOf(const Work& work) {
    try {
        work();
        return std::nullopt;
    } catch (const LoginLaunchManagerError& error) {
        return error.description();
    }
}

void checkAgent(const std::deque<ShellCommandResult>& results, const std::filesystem::path& folder) {
    const auto file = folder / "agent.plist";
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    runner->results = results;
    std::size_t pauses = 0;
    const LaunchAgent agent("label", file, runner, [&](std::chrono::microseconds) { ++pauses; });
    LaunchAtLoginManaging::Remainder rest;
    auto failure = failureOf([&] { rest = agent.load(PropertyListValue(true)); });
    require(agent.hasFile(), "the file is there, whether it was loaded or not");

    Answers answers(results);
    answers.next(); // the earlier copy's end, which may fail
    const auto bootstrap = answers.next();
    constexpr int refusedToLoad = 5;
    require(bool(rest) == (bootstrap.exitCode == refusedToLoad), "a refusal is worth another attempt");
    if (rest) {
        require(!failure, "what is still to be tried has not failed");
        failure = failureOf(rest);
        answers.askUntilForgotten();
        require(failure == failureOf(answers.next()), "the second attempt decides");
    } else {
        require(failure == failureOf(bootstrap), "the first attempt decides");
    }
    require(runner->commands.size() == answers.used, "nothing else is asked");
    require(pauses < maxPrints, "the waiting is bounded");

    agent.unload();
    require(!agent.hasFile() && runner->commands.size() == answers.used + 1, "it is unloaded whatever launchctl says");
}

void checkDaemon(const std::deque<ShellCommandResult>& results) {
    const auto runner = std::make_shared<ScriptedCommandRunner>();
    runner->results = results;
    Answers answers(results);
    const auto failure = results.empty() ? ShellCommandResult() : results.front();
    const LaunchDaemonSetup setup;
    const bool waits = setup.waitsForEarlierService(failure, *runner, [](std::chrono::microseconds) {});
    const auto& said = failure.standardError;
    const std::string refusal = "Bootstrap failed: 5:";
    require(waits == (std::search(said.begin(), said.end(), refusal.begin(), refusal.end()) != said.end()),
            "only launchd's refusal is waited out");
    if (waits) {
        answers.askUntilForgotten();
    }
    require(runner->commands.size() == answers.used, "it is asked until it has forgotten the job");
}

} // namespace
} // namespace tavo

/// Whatever launchctl answers, an agent is loaded, refused or tried again as the answers say, after a bounded number of
/// questions. Each piece of the input is an answer: its exit status and its words.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tavo::TemporaryDirectory folder;
    std::deque<tavo::ShellCommandResult> results;
    for (const auto piece : tavo::pieces({reinterpret_cast<const char*>(data), size})) {
        // A null byte would end the words of an error.
        if (!piece.empty() && piece.find('\0', 1) == std::string_view::npos) {
            results.push_back({.exitCode = static_cast<unsigned char>(piece.front()),
                               .standardError = tavo::repairUTF8(piece.substr(1))});
        }
    }
    tavo::checkAgent(results, folder.path());
    tavo::checkDaemon(results);
    return 0;
}
