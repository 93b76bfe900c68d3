#include "config/TavoStore.h"

#include "base/AtomicFile.h"
#include "base/JsonCoding.h"
#include "base/TrustedPath.h"
#include "config/KeptAside.h"

#include <optional>
#include <string>
#include <system_error>

namespace tavo {

namespace {

/// A file that may be missing. One that cannot be examined counts as being there, so that reading it says why.
bool isMissing(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found;
}

/// Far more than any configuration needs; a file that is a mistake is not worth the memory.
constexpr std::size_t largestConfig = std::size_t{1} << 20U;

/// Enough for dozens of matched processes with the longest command lines that a system takes (2 MiB on Linux).
constexpr std::size_t largestState = std::size_t{64} << 20U;

std::string readFile(const std::filesystem::path& path, std::size_t limit, const char* refusal) {
    try {
        return readWholeFile(path, limit);
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::file_too_large) {
            throw;
        }
        throw DecodingError(DecodingError::Kind::dataCorrupted, {}, refusal);
    }
}

} // namespace

AppConfig TavoStore::loadConfigAsWritten() const {
    const auto file = trustedFile(filePaths.configURL());
    if (isMissing(file)) {
        return AppConfig::defaultConfig();
    }
    return AppConfig::fromJson(
        parseJson(readFile(file, largestConfig, "the file is larger than 1 MiB, which no configuration is.")));
}

AppConfig TavoStore::loadConfig() const {
    return loadConfigAsWritten().validated();
}

void TavoStore::saveConfig(const AppConfig& config) const {
    const auto validated = config.validated();
    ensureBaseDirectoryExists();
    StagedFile staged(filePaths.configURL(), prettyJson(validated));
    std::optional<KeptAside> unreadable;
    if (!canBeLoaded()) {
        unreadable.emplace(staged.target(), filePaths.configURL().string() + ".unreadable");
    }
    staged.moveIntoPlace();
    if (unreadable) {
        unreadable->confirm();
    }
}

bool TavoStore::canBeLoaded() const {
    try {
        loadConfig();
        return true;
    } catch (const std::exception&) {
        // The problem has been reported where it was loaded.
        return false;
    }
}

RuntimeSnapshot TavoStore::loadRuntimeSnapshot() const {
    const auto file = trustedFile(filePaths.stateURL());
    if (isMissing(file)) {
        return RuntimeSnapshot::idle();
    }
    return RuntimeSnapshot::fromJson(
        parseJson(readFile(file, largestState, "the file is larger than 64 MiB, which no state is.")));
}

void TavoStore::saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const {
    ensureBaseDirectoryExists();
    replaceFileAtomically(filePaths.stateURL(), prettyJson(snapshot));
}

void TavoStore::ensureBaseDirectoryExists() const {
    ensureDirectoryExists(filePaths.rootDirectory);
}

} // namespace tavo
