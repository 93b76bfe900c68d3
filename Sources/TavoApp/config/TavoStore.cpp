#include "config/TavoStore.h"

#include "config/AtomicFile.h"

namespace tavo {

namespace {

/// A file that may be missing. What cannot be looked at counts as being there, so that reading it says why.
bool isMissing(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found;
}

} // namespace

AppConfig TavoStore::loadConfig() const {
    if (isMissing(filePaths.configURL())) {
        return AppConfig::defaultConfig();
    }
    return AppConfig::fromJson(parseJson(readWholeFile(filePaths.configURL()))).validated();
}

void TavoStore::saveConfig(const AppConfig& config) const {
    const auto validated = config.validated();
    ensureBaseDirectoryExists();
    replaceFileAtomically(filePaths.configURL(), prettyJson(validated));
}

RuntimeSnapshot TavoStore::loadRuntimeSnapshot() const {
    if (isMissing(filePaths.stateURL())) {
        return RuntimeSnapshot::idle();
    }
    return RuntimeSnapshot::fromJson(parseJson(readWholeFile(filePaths.stateURL())));
}

void TavoStore::saveRuntimeSnapshot(const RuntimeSnapshot& snapshot) const {
    ensureBaseDirectoryExists();
    replaceFileAtomically(filePaths.stateURL(), prettyJson(snapshot));
}

void TavoStore::ensureBaseDirectoryExists() const {
    ensureDirectoryExists(filePaths.rootDirectory);
}

} // namespace tavo
