// The cost of one evaluation over a table of 5,000 processes, and the share of matching in it: an ASCII query over
// ASCII command lines, for which nothing is copied, and over command lines that have to be folded.

#include "SyntheticProcfs.h"
#include "runtime/ProcessWatcher.h"
#include "runtime/RuntimeCoordinator.h"
#include "system/OwnProgramFilter.h"
#include "system/linux/ProcfsProcessSnapshotProvider.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

namespace tavo {
namespace {

constexpr int tableSize = 5000;

struct FullBattery final : PowerEnvironmentProviding {
    PowerStatus currentStatus() const override { return {.source = CurrentPowerSource::ac, .batteryPercent = 100}; }
};

struct NothingRuns final : CommandRunning {
    bool supportsPrivilegedCommands() const override { return false; }
    ShellCommandResult run(const ShellCommand&) override { return {}; }
    std::shared_ptr<RunningCommand> start(const ShellCommand&) override { return nullptr; }
};

AppConfig watching(const std::string& query) {
    AppConfig config;
    config.isEnabled = true;
    config.trigger = {.mode = TriggerMode::process, .query = query};
    return config;
}

/// Nothing matches, so every process is examined to its end and nothing is started.
void wholeEvaluation(benchmark::State& state) {
    const SyntheticProcfs procfs(tableSize);
    const auto table =
        std::make_shared<OwnProgramFilter>(std::make_shared<ProcfsProcessSnapshotProvider>(procfs.root()), getpid());
    RuntimeCoordinator coordinator(std::make_shared<FullBattery>(), std::make_shared<ProcessWatcher>(table),
                                   std::make_shared<WakeController>(std::make_shared<NothingRuns>(), nullptr), nullptr);
    const auto config = watching("no such program");
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(coordinator.evaluate(config, {}));
    }
}

void matching(benchmark::State& state, const std::string& commandLine) {
    const std::vector<ProcessSample> processes(
        tableSize,
        {.executableName = "process", .commandLine = commandLine + " --some --ordinary --arguments=of a process"});
    const TriggerMatcher matcher({.mode = TriggerMode::process, .query = "no such program"});
    for ([[maybe_unused]] auto _ : state) {
        for (const auto& process : processes) {
            benchmark::DoNotOptimize(matcher.matches(process));
        }
    }
}

BENCHMARK(wholeEvaluation)->Name("Evaluation/5000 processes")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(matching, ascii, "/usr/bin/process")->Name("Matching/ascii")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(matching, folded, "/usr/bin/pröcess")->Name("Matching/folded")->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace tavo
