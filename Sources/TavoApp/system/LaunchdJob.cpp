#include "system/LaunchdJob.h"

#include <thread>

namespace tavo {

namespace {

// Together 10 seconds.
constexpr int maxPauses = 50;
constexpr std::chrono::microseconds pause{200000};

} // namespace

Sleeper threadSleeper() {
    return [](std::chrono::microseconds time) { std::this_thread::sleep_for(time); };
}

bool saysThatLaunchdRefusedToLoad(const std::string& standardError) {
    return standardError.find("Bootstrap failed: 5:") != std::string::npos;
}

void waitUntilLaunchdForgets(const std::string& target, CommandRunning& runner, const Sleeper& sleeper) {
    const ShellCommand print{.executableURL = "/bin/launchctl", .arguments = {"print", target}};
    for (int pauses = 0; runner.run(print).exitCode == 0 && pauses < maxPauses; ++pauses) {
        sleeper(pause);
    }
}

} // namespace tavo
