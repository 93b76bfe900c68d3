#pragma once

#include "base/RuntimeRecords.h"
#include "config/AppConfig.h"
#include "config/TavoPaths.h"

namespace tavo {

/// Reads and writes "config.json" and "state.json": UTF-8, pretty-printed, keys sorted, dates in ISO 8601. The files and
/// the folder are the user's alone (0600, 0700), since command lines can hold secrets. Neither file is ever deleted.
class TavoStore {
public:
    explicit TavoStore(TavoPaths paths) : filePaths(std::move(paths)) {}

    const TavoPaths& paths() const { return filePaths; }

    /// The validated configuration of the file, or the default one when there is no file (nothing is written then).
    /// @throws std::system_error when the file cannot be read, DecodingError naming the key, TavoValidationError.
    AppConfig loadConfig() const;

    /// Writes the validated form of `config`.
    /// @throws TavoValidationError before anything is written; std::system_error, with the previous file whole.
    void saveConfig(const AppConfig& config) const;

    /// The snapshot of the file, or the idle one when there is no file.
    /// @throws std::system_error when the file cannot be read, DecodingError naming the key.
    RuntimeSnapshot loadRuntimeSnapshot() const;

    /// @throws std::system_error, with the previous file whole.
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const;

private:
    void ensureBaseDirectoryExists() const;

    TavoPaths filePaths;
};

} // namespace tavo
