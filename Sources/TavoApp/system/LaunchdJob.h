#pragma once

#include "system/CommandRunning.h"

#include <chrono>
#include <functional>
#include <string>

namespace tavo {

/// Lets time pass between two attempts.
using Sleeper = std::function<void(std::chrono::microseconds)>;

/// Sleeps on the calling thread.
Sleeper threadSleeper();

/// launchctl's exit status, and the number in its message, when launchd refuses to load a job: "Bootstrap failed: 5:
/// Input/output error". It does so while an earlier job of the same label is still ending.
inline constexpr std::int32_t launchdRefusedToLoad = 5;

/// Whether this is what `launchctl bootstrap` says when launchd refused to load a job, by itself or quoted by
/// osascript(1), whose own exit status says nothing of it.
bool saysThatLaunchdRefusedToLoad(const std::string& standardError);

/// Waits until launchd no longer knows a job, 10 seconds at most: `launchctl bootout` returns before the job is gone.
///
/// @param target  as launchctl(1) takes it, such as "gui/501/com.vrd.tavo".
/// @throws the runner's error.
void waitUntilLaunchdForgets(const std::string& target, CommandRunning& runner, const Sleeper& sleeper);

} // namespace tavo
