#pragma once

#include "config/AppConfig.h"
#include "runtime/ActivityFile.h"
#include "runtime/WorkMonitor.h"

#include <memory>
#include <optional>

namespace tavo {

/// Keeps awake only while the matched programs work, for one run of Tavo. Not part of the configuration.
class WorkSession {
public:
    /// Without a requirement, only removes the file that a killed Tavo may have left.
    WorkSession(const std::optional<WorkRequirement>& requirement, const TavoPaths& paths);
    WorkSession(const WorkSession&) = delete;
    WorkSession& operator=(const WorkSession&) = delete;
    ~WorkSession() { end(); }

    bool isWanted() const { return monitor != nullptr; }

    /// The configuration for the coordinator to evaluate: `config`, validated, and with a process trigger that requires
    /// activity if this session wants that. @throws TavoValidationError
    AppConfig required(const AppConfig& config) const;

    /// For the process watcher; null without a requirement.
    const std::shared_ptr<WorkMonitor>& workMonitor() const { return monitor; }

    /// As of the last evaluation; nothing before the first, and without a requirement.
    std::optional<WorkActivity> activity() const;

    /// After every evaluation: writes the result into the file for other programs. If that fails, only they miss it.
    /// With a configuration that watches no process, the measurement starts anew.
    void evaluated(const AppConfig& config);

    /// Removes the file, and writes it no more. Further calls do nothing.
    void end();

private:
    void writeActivity();

    ActivityFile file;
    std::shared_ptr<WorkMonitor> monitor;
    std::optional<WorkActivity> written;
    bool hasEnded = false;
};

} // namespace tavo
