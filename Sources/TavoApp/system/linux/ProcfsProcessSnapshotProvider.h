#pragma once

#include "system/ProcessSnapshot.h"

#include <filesystem>

namespace tavo {

/// Reads the process table from procfs.
///
/// Costs two small reads a process (about 15 µs each pair) and no child process. A process that ends while the table is
/// being read is left out, and so is one whose `stat` the system hides (the mount option "hidepid") or that cannot be
/// understood. A process whose arguments alone are hidden has its name as its command line. See ProcfsText.h for what
/// the name and the command line are.
class ProcfsProcessSnapshotProvider final : public ProcessSnapshotProviding {
public:
    explicit ProcfsProcessSnapshotProvider(std::filesystem::path root = "/proc");

    /// In the order of the folder, which procfs keeps by ascending process id.
    /// @throws std::system_error when the table itself cannot be opened or read, or when the machine runs out of
    /// descriptors or memory meanwhile: a table with holes would look like programs that have ended.
    ProcessSnapshot snapshot(TimePoint at) override;

private:
    std::filesystem::path root;
};

} // namespace tavo
