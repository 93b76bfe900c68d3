// The rows of the engine: one evaluation over procfs beside pgrep and beside the bare reading of the same files, its heap
// allocations, matching of text beyond ASCII, and large tables with many matches.
// Usage: EngineProbe PROGRAMS [--short], as scripts/compare calls it.

#include "CountedAllocations.h"
#include "Crowd.h"
#include "SideBySide.h"
#include "SyntheticProcfs.h"
#include "base/FileDescriptor.h"
#include "runtime/ProcessWatcher.h"
#include "runtime/RuntimeCoordinator.h"
#include "system/OwnProgramFilter.h"
#include "system/linux/ProcfsProcessSnapshotProvider.h"

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>

namespace tavo {
namespace {

constexpr const char* unmatchedQuery = "no such program";
constexpr int cannotMeasure = 77;

struct CannotMeasure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct FullBattery final : PowerEnvironmentProviding {
    PowerStatus currentStatus() const override { return {.source = CurrentPowerSource::ac, .batteryPercent = 100}; }
};

struct NothingRuns final : CommandRunning {
    bool supportsPrivilegedCommands() const override { return false; }
    ShellCommandResult run(const ShellCommand&) override { return {}; }
    std::shared_ptr<RunningCommand> start(const ShellCommand&) override { return nullptr; }
};

/// Evaluations in which nothing matches, so that every process is examined to its end and nothing is started.
class Evaluations {
public:
    explicit Evaluations(const std::filesystem::path& procfs)
        : coordinator(std::make_shared<FullBattery>(),
                      std::make_shared<ProcessWatcher>(std::make_shared<OwnProgramFilter>(
                          std::make_shared<ProcfsProcessSnapshotProvider>(procfs), getpid())),
                      std::make_shared<WakeController>(std::make_shared<NothingRuns>(), nullptr), nullptr) {
        config.isEnabled = true;
        config.trigger = {.mode = TriggerMode::process, .query = unmatchedQuery};
    }

    void operator()() {
        if (coordinator.evaluate(config, {}).snapshot.lastDecisionReason != RuntimeDecisionReason::noMatchingProcess) {
            throw std::runtime_error("something matched that should not");
        }
    }

private:
    AppConfig config;
    RuntimeCoordinator coordinator;
};

void runPgrep() {
    std::array<char*, 4> arguments{const_cast<char*>("pgrep"), const_cast<char*>("-f"),
                                   const_cast<char*>(unmatchedQuery), nullptr};
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, "pgrep", nullptr, nullptr, arguments.data(), environ) != 0) {
        throw CannotMeasure("there is no pgrep.");
    }
    constexpr int foundNothing = 1;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != foundNothing) {
        throw std::runtime_error("pgrep failed");
    }
}

/// Nothing is done with the content, so that no reader can be faster. Returns the number of processes.
int readProcfs() {
    static std::array<char, 65536> buffer;
    int processes = 0;
    DIR* const folder = opendir("/proc");
    if (folder == nullptr) {
        throw CannotMeasure("there is no /proc.");
    }
    while (const auto* entry = readdir(folder)) {
        const std::string name(static_cast<const char*>(entry->d_name));
        if (std::isdigit(static_cast<unsigned char>(name.front())) == 0) {
            continue;
        }
        for (const char* file : {"/stat", "/cmdline"}) {
            const FileDescriptor descriptor(openat(dirfd(folder), (name + file).c_str(), O_RDONLY | O_CLOEXEC));
            if (descriptor && read(descriptor.get(), buffer.data(), buffer.size()) < 0) {
                continue; // it has exited meanwhile
            }
        }
        ++processes;
    }
    closedir(folder);
    return processes;
}

void measureEvaluations(int processes, bool isShort) {
    const Crowd crowd(std::max(0, processes - readProcfs()));
    Evaluations evaluations("/proc");
    const auto seconds = fastestOf(isShort ? 2 : 12, {[&] { evaluations(); }, runPgrep, [] { readProcfs(); }});
    const auto name = std::to_string(processes);
    constexpr double milliseconds = 1e3;
    printSide("evaluation-" + name, "tavo", milliseconds * seconds[0], "ms");
    printSide("evaluation-" + name, "pgrep", milliseconds * seconds[1], "ms");
    printSide("reading-" + name, "tavo", milliseconds * seconds[0], "ms");
    printSide("reading-" + name, "bare", milliseconds * seconds[2], "ms");
}

/// Of one evaluation, for each process of the table. The first one takes what later ones have.
double allocationsPerProcess(const std::filesystem::path& procfs) {
    Evaluations evaluations(procfs);
    evaluations();
    const auto before = allocationsSoFar();
    evaluations();
    const auto taken = allocationsSoFar() - before;
    return static_cast<double>(taken) /
           static_cast<double>(ProcfsProcessSnapshotProvider(procfs).snapshot({}).processes.size());
}

void measureAllocations() {
    const Crowd crowd(std::max(0, 400 - readProcfs()));
    const SyntheticProcfs synthetic(2000);
    printSide("allocations", "tavo", std::max(allocationsPerProcess("/proc"), allocationsPerProcess(synthetic.root())),
              "allocations");
}

/// Lines of 300 bytes made of the given words, in an order that is the same each time.
std::vector<ProcessSample> commandLines(const std::vector<std::string>& words) {
    constexpr int count = 5000;
    constexpr std::size_t length = 300;
    std::mt19937 random(count); // NOLINT(cert-msc51-cpp): every run measures the same lines
    std::vector<ProcessSample> samples(count);
    for (auto& sample : samples) {
        std::string line = "/";
        while (line.size() < length) {
            const auto& word = words[random() % words.size()];
            line += line.size() + word.size() <= length ? word : std::string(length - line.size(), '-');
            line += line.size() < length ? " " : "";
        }
        sample.commandLine = line;
    }
    return samples;
}

void measureMatching(bool isShort) {
    const auto ascii =
        commandLines({"usr/bin/program", "--option=value", "--Another", "/home/somebody/Documents", "42"});
    const auto beyond =
        commandLines({"Настройки", "документы/Ёлка", "Übergrößenträger", "façade--naïveté", "Ελληνικά/Άλφα",
                      "プログラム", "设置文件夹", "한국어파일", "Łódź", "हिन्दी", "עברית", "ﬁnal"});
    const auto matchAll = [](const std::vector<ProcessSample>& samples, const char* query) {
        TriggerMatcher matcher({.mode = TriggerMode::process, .query = query});
        if (std::any_of(samples.begin(), samples.end(), [&](const auto& sample) { return matcher.matches(sample); })) {
            throw std::runtime_error("something matched that should not");
        }
    };
    const auto seconds = fastestOf(isShort ? 5 : 50, {[&] { matchAll(beyond, unmatchedQuery); },
                                                      [&] { matchAll(beyond, "такой программы нет"); },
                                                      [&] { matchAll(ascii, unmatchedQuery); }});
    constexpr double microseconds = 1e6;
    printSide("matching", "tavo", microseconds * std::max(seconds[0], seconds[1]), "us");
    printSide("matching", "ascii", microseconds * seconds[2], "us");
}

/// Gives the table that was put into it, once.
struct PreparedTable final : ProcessSnapshotProviding {
    ProcessSnapshot snapshot(TimePoint) override { return std::move(prepared); }
    ProcessSnapshot prepared;
};

/// One chain from the first process down, and as many children of one process; every hundredth of each matches.
ProcessSnapshot deepAndWide(int processes) {
    ProcessSnapshot snapshot;
    for (int pid = 1; pid <= processes; ++pid) {
        const bool isInChain = pid <= processes / 2;
        snapshot.processes.push_back({.pid = pid,
                                      .parentPID = isInChain ? pid - 1 : 1,
                                      .cpuTimeSeconds = 1,
                                      .executableName = "process",
                                      .commandLine = pid % 100 == 0
                                                         ? "/usr/bin/watched --some --ordinary --arguments"
                                                         : "/usr/bin/process --some --ordinary --arguments"});
    }
    return snapshot;
}

/// In nanoseconds for each process, of the second evaluation: the one that has a table to compare with.
double evaluationOfManyMatches(int processes, int repetitions) {
    const auto table = std::make_shared<PreparedTable>();
    ProcessWatcher watcher(table);
    const TriggerRule rule{.mode = TriggerMode::process, .query = "watched"};
    const auto all = deepAndWide(processes);
    double fastest = 0;
    for (int repetition = 0; repetition <= repetitions; ++repetition) {
        table->prepared = all;
        const double seconds = fastestOf(1, {[&] { watcher.evaluate(rule, {}); }}).front();
        fastest = repetition < 2 ? seconds : std::min(fastest, seconds);
    }
    constexpr double nanoseconds = 1e9;
    return nanoseconds * fastest / processes;
}

void measureTrees(bool isShort) {
    printSide("trees", "tavo", evaluationOfManyMatches(100'000, isShort ? 1 : 5), "ns");
    printSide("trees", "small", evaluationOfManyMatches(10'000, isShort ? 1 : 50), "ns");
}

} // namespace
} // namespace tavo

int main(int count, char** values) {
    const bool isShort =
        std::any_of(values, values + count, [](const char* value) { return std::string_view(value) == "--short"; });
    try {
        // First what forks, while there is little to copy.
        for (const int processes : {400, 3000}) {
            tavo::measureEvaluations(processes, isShort);
        }
        tavo::measureAllocations();
        tavo::measureMatching(isShort);
        tavo::measureTrees(isShort);
        return 0;
    } catch (const tavo::CannotMeasure& reason) {
        std::fprintf(stderr, "%s\n", reason.what());
        return tavo::cannotMeasure;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
