// The cost of one snapshot of the process table, read from procfs and by running ps. "perProcess" is the wall-clock
// time for one process of the table.

#include "SyntheticProcfs.h"
#include "base/Text.h"
#include "system/linux/ProcfsProcessSnapshotProvider.h"
#include "system/macos/PSProcessSnapshotProvider.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace tavo {
namespace {

void countProcesses(benchmark::State& state, std::size_t processes) {
    using benchmark::Counter;
    state.counters["processes"] = static_cast<double>(processes);
    state.counters["perProcess"] =
        Counter(static_cast<double>(processes), Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void snapshot(benchmark::State& state, const std::filesystem::path& root) {
    ProcfsProcessSnapshotProvider provider(root);
    std::size_t processes = 0;
    for ([[maybe_unused]] auto _ : state) {
        const auto table = provider.snapshot({});
        processes = table.processes.size();
        benchmark::DoNotOptimize(table.processes.data());
    }
    countProcesses(state, processes);
}

/// The columns that macOS's ps is asked for, in the words of procps: its option -c belongs to other columns, and a list
/// of columns ends at the first one that is renamed.
std::string runPS() {
    const std::string command = "/bin/ps -axww -o pid=PID -o ppid=PPID -o time=TIME -o comm=" +
                                std::string(PSProcessSnapshotProvider::executableColumnHeader) + " -o args=ARGS";
    FILE* const pipe = popen(command.c_str(), "r"); // NOLINT(cert-env33-c): the command is a constant
    if (pipe == nullptr) {
        throw std::runtime_error("ps could not be run");
    }
    std::string output;
    std::array<char, 65536> buffer{};
    for (std::size_t count = 0; (count = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), count);
    }
    pclose(pipe);
    return output;
}

void realTableByProcfs(benchmark::State& state) {
    snapshot(state, "/proc");
}

void realTableByPS(benchmark::State& state) {
    std::size_t processes = 0;
    for ([[maybe_unused]] auto _ : state) {
        const auto output = repairUTF8(runPS());
        const auto table = PSProcessSnapshotProvider::parse(trimWhitespaceAndNewlines(output), {});
        processes = table.processes.size();
    }
    if (processes == 0) {
        state.SkipWithError("ps gave no processes");
        return;
    }
    countProcesses(state, processes);
}

void syntheticTableByProcfs(benchmark::State& state) {
    const SyntheticProcfs procfs(static_cast<int>(state.range(0)));
    snapshot(state, procfs.root());
}

/// A table of the given size as ps would print it.
void psTextOfManyProcesses(benchmark::State& state) {
    std::string output = "PID PPID TIME " + std::string(PSProcessSnapshotProvider::executableColumnHeader) + " ARGS\n";
    for (std::int64_t pid = 1; pid <= state.range(0); ++pid) {
        std::string name = "process name " + std::to_string(pid % 100);
        name.resize(PSProcessSnapshotProvider::executableColumnWidth, ' ');
        output += std::to_string(pid) + " 1 1-02:03:04 " + name + " /usr/bin/process --some --ordinary --arguments\n";
    }
    std::size_t processes = 0;
    for ([[maybe_unused]] auto _ : state) {
        const auto table = PSProcessSnapshotProvider::parse(output, {});
        processes = table.processes.size();
        benchmark::DoNotOptimize(table.processes.data());
    }
    countProcesses(state, processes);
}

BENCHMARK(realTableByProcfs)->Name("RealTable/procfs")->UseRealTime();
BENCHMARK(realTableByPS)->Name("RealTable/ps")->UseRealTime();
BENCHMARK(syntheticTableByProcfs)
    ->Name("SyntheticTable/procfs")
    ->Arg(500)
    ->Arg(5000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(psTextOfManyProcesses)
    ->Name("PSText/parse")
    ->Arg(500)
    ->Arg(5000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace tavo
