// None of the files that Tavo keeps leads root through a link that somebody else has planted.
#include "Support/ForeignFolders.h"
#include "base/AtomicFile.h"
#include "config/InstanceLock.h"
#include "config/TavoStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <system_error>

namespace tavo {
namespace {

using PlantedLink = ForeignFolders;

TEST_F(PlantedLink, NothingOfTavosLeadsRootThroughAPlantedLink) {
    const auto victim = folder.write("victim", "precious");
    const auto planted = users / "Tavo";
    std::filesystem::create_directory(planted);
    for (const auto* name : {"config.json", "state.json", "tavo.lock", "file"}) {
        std::filesystem::create_symlink(victim, planted / name);
        give(planted / name);
    }
    give(planted);
    const TavoStore store(TavoPaths{planted});
    const std::string reason = "belongs to another user";
    expectRefusal([&] { store.loadConfig(); }, reason);
    expectRefusal([&] { store.saveConfig({}); }, reason);
    expectRefusal([&] { store.loadRuntimeSnapshot(); }, reason);
    expectRefusal([&] { store.saveRuntimeSnapshot({}); }, reason);
    expectRefusal([&] { InstanceLock::acquire(planted / "tavo.lock"); }, reason);
    expectRefusal([&] { replaceFileAtomically(planted / "file", "new"); }, reason);
    expectRefusal([&] { createFile(planted / "another", "new"); }, reason);
    expectRefusal([&] { ensureDirectoryExists(planted / "folder"); }, reason);
    EXPECT_EQ(fileContent(victim), "precious");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(planted), {}), 4);
}

} // namespace
} // namespace tavo
