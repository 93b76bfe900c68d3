// The files of a Tavo that is killed at any moment.
#include "Support/KilledSaves.h"

#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"
#include "config/HistoryFile.h"
#include "config/InstanceLock.h"
#include "config/TavoStore.h"

#include <gtest/gtest.h>

namespace tavo {
namespace {

class KilledSavesTest : public testing::Test {
protected:
    KilledSavesTest() { saves.folder = folder.path(); }

    static AppConfig configWith(int number) {
        AppConfig config;
        config.trigger = {.mode = TriggerMode::process,
                          .matchStrategy = TriggerMatchStrategy::commandLineContains,
                          .query = std::string(10000, 'q') + std::to_string(number)};
        return config.validated();
    }

    static RuntimeSnapshot stateWith(int number) {
        return {.isEnabled = true,
                .matchedProcesses = {{.pid = number, .executableName = "a", .commandLine = std::string(10000, 'c')}}};
    }

    static HistoryEntry entryWith(int number) {
        return {.event = HistoryEvent::start,
                .time = *parseISO8601("2026-01-31T09:00:00Z"),
                .writer = {.program = "tavo", .processID = number, .startTime = 1}};
    }

    TemporaryDirectory folder;
    TavoPaths paths{folder.path()};
    TavoStore store{paths};
    KilledSaves saves;
};

TEST_F(KilledSavesTest, TheConfigurationIsTheOldOneOrTheNewOne) {
    saves.save = [&](int number) { store.saveConfig(configWith(number)); };
    saves.holds = [&](int number) { return store.loadConfig() == configWith(number); };
    saves.expectWholeAfterEveryKill();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "nothing was kept aside";
}

TEST_F(KilledSavesTest, AConfigurationThatCannotBeReadIsNeverLost) {
    const auto config = folder.path() / "config.json";
    const auto aside = folder.path() / "config.json.unreadable";
    const auto broken = [](int number) { return "{" + std::string(10000, ' ') + std::to_string(number); };
    saves.save = [&](int number) {
        std::filesystem::remove(aside);
        replaceFileAtomically(config, broken(number));
        store.saveConfig({});
    };
    const auto isDefault = [&] {
        try {
            return store.loadConfig() == AppConfig::defaultConfig();
        } catch (const std::exception&) {
            return false;
        }
    };
    saves.holds = [&](int number) {
        if (!std::filesystem::exists(aside) && isDefault()) {
            return true; // killed before the test itself had spoilt the file
        }
        return fileContent(config) == broken(number) || (fileContent(aside) == broken(number) && isDefault());
    };
    saves.expectWholeAfterEveryKill();
    EXPECT_FALSE(std::filesystem::exists(aside.string() + ".2")) << "what is kept already is not kept again";
}

TEST_F(KilledSavesTest, TheStateIsTheOldOneOrTheNewOne) {
    saves.save = [&](int number) { store.saveRuntimeSnapshot(stateWith(number)); };
    saves.holds = [&](int number) { return store.loadRuntimeSnapshot() == stateWith(number); };
    saves.expectWholeAfterEveryKill();
}

TEST_F(KilledSavesTest, TheHistoryLosesNoLineThatWasWritten) {
    const HistoryFile history(paths.historyURL(), 8 * (entryWith(100).line().size() + 1));
    saves.usesTemporaryFiles = false;
    saves.save = [&](int number) { history.append(entryWith(number)); };
    saves.holds = [&](int number) {
        const auto lines = history.read().entries;
        for (std::size_t index = 1; index < lines.size(); ++index) {
            EXPECT_EQ(lines[index].writer.processID, lines[index - 1].writer.processID + 1);
        }
        return !lines.empty() && lines.back().writer.processID == number;
    };
    saves.expectWholeAfterEveryKill();
}

TEST_F(KilledSavesTest, TheLockIsFreeAndItsNoteIsNobodys) {
    saves.usesTemporaryFiles = false;
    saves.save = [&](int number) {
        const auto lock = InstanceLock::acquire(paths.lockURL(), std::to_string(number));
        if (!lock) {
            throw std::runtime_error("the lock of a killed process is held");
        }
        lock->replaceNote(std::string(1000, 'n'));
    };
    saves.holds = [&](int) {
        return !InstanceLock::holder(paths.lockURL()) && InstanceLock::noteOfHolder(paths.lockURL()).empty();
    };
    saves.expectWholeAfterEveryKill();
}

} // namespace
} // namespace tavo
