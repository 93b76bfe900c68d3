#include "config/TavoStore.h"

#include "config/AtomicFile.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace tavo {

namespace {

/// A file that may be missing. What cannot be looked at counts as being there, so that reading it says why.
bool isMissing(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found;
}

} // namespace

AppConfig TavoStore::loadConfigAsWritten() const {
    if (isMissing(filePaths.configURL())) {
        return AppConfig::defaultConfig();
    }
    return AppConfig::fromJson(parseJson(readWholeFile(filePaths.configURL())));
}

AppConfig TavoStore::loadConfig() const {
    return loadConfigAsWritten().validated();
}

void TavoStore::saveConfig(const AppConfig& config) const {
    const auto validated = config.validated();
    ensureBaseDirectoryExists();
    keepUnreadableConfigAside();
    replaceFileAtomically(filePaths.configURL(), prettyJson(validated));
}

void TavoStore::keepUnreadableConfigAside() const {
    try {
        loadConfig();
        return;
    } catch (const std::exception&) {
        // What is wrong with it has been said where it was loaded.
    }
    const auto aside = filePaths.configURL().string() + ".unreadable";
    const auto nameOf = [&](int number) { return number == 1 ? aside : aside + "." + std::to_string(number); };
    std::optional<std::string> content;
    try {
        content = readWholeFile(filePaths.configURL());
    } catch (const std::system_error&) {
        // What cannot be read can still be given another name.
    }
    for (int number = 1; !keepAs(nameOf(number), content); ++number) {
    }
}

/// Says whether the name was free.
bool TavoStore::keepAs(const std::string& name, const std::optional<std::string>& content) const {
    if (content) {
        return createFile(name, *content);
    }
    if (link(filePaths.configURL().c_str(), name.c_str()) == 0) {
        return true;
    }
    if (errno != EEXIST) {
        throw std::system_error(errno, std::generic_category(),
                                "could not keep the unreadable " + filePaths.configURL().string() + " as " + name);
    }
    return false;
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
