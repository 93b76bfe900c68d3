#pragma once

#include <filesystem>

namespace tavo {

/// A temporary folder that looks like procfs with as many processes as ordered.
class SyntheticProcfs {
public:
    explicit SyntheticProcfs(int processes);
    SyntheticProcfs(const SyntheticProcfs&) = delete;
    SyntheticProcfs& operator=(const SyntheticProcfs&) = delete;
    ~SyntheticProcfs();

    const std::filesystem::path& root() const { return folder; }

private:
    std::filesystem::path folder;
};

} // namespace tavo
