#include "TavoControl/ExitStatus.h"

#include "Support/TemporaryDirectory.h"
#include "base/JsonCoding.h"
#include "base/WakeControlError.h"
#include "config/TavoValidationError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace tavo {
namespace {

using ::testing::HasSubstr;

template <typename Error>
int statusOf(const Error& error) {
    return static_cast<int>(exitStatusOf(std::make_exception_ptr(error)));
}

TEST(ExitStatus, EveryFailureHasTheStatusThatSysexitsGivesIt) {
    EXPECT_EQ(statusOf(WakeControlError::systemUnavailable("no logind.")), 69);
    EXPECT_EQ(statusOf(WakeControlError::commandFailed("it failed.")), 1);
    EXPECT_EQ(statusOf(WakeControlError::closedLidRequiresPrivilege()), 1);
    EXPECT_EQ(statusOf(ConfigurationError("cannot be used.")), 78);
    EXPECT_EQ(statusOf(TavoValidationError::emptyTriggerQuery()), 78);
    EXPECT_EQ(statusOf(std::system_error(ENOSPC, std::generic_category())), 1);
    EXPECT_EQ(statusOf(7), 1) << "something that is no exception class";
}

TEST(ExitStatus, TheNumbersArePartOfTheInterface) {
    EXPECT_EQ(static_cast<int>(ExitStatus::success), 0);
    EXPECT_EQ(static_cast<int>(ExitStatus::failure), 1);
    EXPECT_EQ(static_cast<int>(ExitStatus::wrongUsage), 64);
    EXPECT_EQ(static_cast<int>(ExitStatus::systemUnavailable), 69);
    EXPECT_EQ(static_cast<int>(ExitStatus::alreadyRunning), 75);
    EXPECT_EQ(static_cast<int>(ExitStatus::invalidConfiguration), 78);
}

class ConfigurationErrorTest : public ::testing::Test {
protected:
    std::string sentence() const {
        try {
            loadConfigOrExplain(store);
        } catch (const ConfigurationError& error) {
            return error.description();
        }
        return "no failure";
    }

    TemporaryDirectory folder;
    TavoStore store{TavoPaths{folder.path()}};
};

TEST_F(ConfigurationErrorTest, WithoutAFileTheDefaultsHold) {
    EXPECT_EQ(loadConfigOrExplain(store), AppConfig::defaultConfig());
}

TEST_F(ConfigurationErrorTest, AGoodFileIsLoaded) {
    auto config = AppConfig::defaultConfig();
    config.watchMode = WatchMode::both;
    store.saveConfig(config);
    EXPECT_EQ(loadConfigOrExplain(store), config);
}

TEST_F(ConfigurationErrorTest, SaysWhichFileWhyAndWhatToDoAndLeavesTheFile) {
    struct Case {
        std::string content;
        std::string reason;
    };
    auto noQuery = Json(AppConfig());
    noQuery["trigger"] = Json::object();
    auto zeroCutoff = Json(AppConfig());
    zeroCutoff["batteryCutoffPercent"] = 0;
    auto unknownMode = Json(AppConfig());
    unknownMode["watchMode"] = "ajar";
    const std::vector<Case> cases{{"", "line 1"},
                                  {"{", "line 1"},
                                  {"[]", "an object"},
                                  {"{}", "isEnabled"},
                                  {unknownMode.dump(), "watchMode"},
                                  {noQuery.dump(), "trigger query must not be empty"},
                                  {zeroCutoff.dump(), "between 1 and 100. received 0;"}};
    for (const auto& [content, reason] : cases) {
        SCOPED_TRACE(content);
        const auto file = folder.write("config.json", content);
        const auto text = sentence();
        EXPECT_TRUE(text.starts_with("the configuration " + file.string() + " cannot be used: ")) << text;
        EXPECT_TRUE(text.ends_with("; fix it, or move the file away to start from the defaults.")) << text;
        EXPECT_THAT(text, HasSubstr(reason));
        EXPECT_THAT(text, ::testing::Not(HasSubstr("\n")));
        EXPECT_EQ(fileContent(file), content);
    }
}

TEST_F(ConfigurationErrorTest, AFileThatCannotBeReadIsExplainedToo) {
    std::filesystem::create_directory(folder.path() / "config.json");
    EXPECT_THAT(sentence(), HasSubstr("which is a folder and not a file; fix it"));
}

} // namespace
} // namespace tavo
