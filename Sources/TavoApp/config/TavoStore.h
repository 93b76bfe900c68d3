#pragma once

#include "base/RuntimeRecords.h"
#include "config/AppConfig.h"
#include "config/TavoPaths.h"

namespace tavo {

/// Keeps the configuration and the last runtime snapshot.
struct TavoStoring {
    virtual ~TavoStoring() = default;

    virtual const TavoPaths& paths() const = 0;

    /// The validated configuration of the file, or the default one when there is no file (nothing is written then).
    /// @throws std::system_error when the file cannot be read, DecodingError naming the key (or when there is far more
    ///         than a configuration), TavoValidationError, and UntrustedPathError.
    virtual AppConfig loadConfig() const = 0;

    /// The same before it is validated: the values of the file, also those that are fixed in this version.
    virtual AppConfig loadConfigAsWritten() const = 0;

    /// Writes the validated form of `config`. A file that cannot be loaded is never overwritten: it is kept beside the
    /// new one as "config.json.unreadable", with a number when there is such a file already.
    /// @throws TavoValidationError before anything is written; std::system_error and UntrustedPathError, with the
    ///         previous file whole, and no copy of it left.
    virtual void saveConfig(const AppConfig& config) const = 0;

    /// The snapshot of the file, or the idle one when there is no file.
    /// @throws std::system_error when the file cannot be read, DecodingError naming the key.
    virtual RuntimeSnapshot loadRuntimeSnapshot() const = 0;

    /// @throws std::system_error, with the previous file whole.
    virtual void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const = 0;
};

/// Reads and writes "config.json" and "state.json": UTF-8, pretty-printed, keys sorted, dates in ISO 8601. The files
/// and the folder are the user's alone (0600, 0700), since command lines can hold secrets. Neither file is ever
/// deleted.
class TavoStore final : public TavoStoring {
public:
    explicit TavoStore(TavoPaths paths) : filePaths(std::move(paths)) {}

    const TavoPaths& paths() const override { return filePaths; }
    AppConfig loadConfig() const override;
    AppConfig loadConfigAsWritten() const override;
    void saveConfig(const AppConfig& config) const override;
    RuntimeSnapshot loadRuntimeSnapshot() const override;
    void saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const override;

private:
    void ensureBaseDirectoryExists() const;
    bool canBeLoaded() const;

    TavoPaths filePaths;
};

} // namespace tavo
