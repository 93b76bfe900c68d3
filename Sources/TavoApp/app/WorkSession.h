#pragma once

#include "config/AppConfig.h"
#include "runtime/ActivityFile.h"
#include "runtime/WorkMonitor.h"

#include <memory>
#include <optional>

namespace tavo {

/// Staying awake only while the matched programs work, for as long as one Tavo runs. Nothing of it goes into the configuration.
class WorkSession {
public:
    /// Without a requirement it changes nothing, and only removes the file that a killed Tavo may have left.
    WorkSession(const std::optional<WorkRequirement>& requirement, const TavoPaths& paths);
    WorkSession(const WorkSession&) = delete;
    WorkSession& operator=(const WorkSession&) = delete;
    ~WorkSession() { end(); }

    bool isWanted() const { return monitor != nullptr; }

    /// The configuration that the coordinator evaluates as given: `config` in its validated form, and with a process trigger
    /// that requires activity where that is wanted. @throws TavoValidationError
    AppConfig required(const AppConfig& config) const;

    /// For the process watcher; null where this is not wanted.
    const std::shared_ptr<WorkMonitor>& workMonitor() const { return monitor; }

    /// As of the last look; nothing before the first, and where this is not wanted.
    std::optional<WorkActivity> activity() const;

    /// After every evaluation: passes the last look on in the file. A file that cannot be written costs what others know of it,
    /// and nothing else. With a configuration that watches no process, what is seen next is seen for the first time.
    void evaluated(const AppConfig& config);

    /// No more is noted. Once is enough.
    void end();

private:
    void note();

    ActivityFile file;
    std::shared_ptr<WorkMonitor> monitor;
    std::optional<WorkActivity> noted;
    bool hasEnded = false;
};

} // namespace tavo
