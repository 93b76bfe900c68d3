#include "helper/SleepOverrideJournal.h"

#include "Support/TemporaryDirectory.h"
#include "base/AtomicFile.h"
#include "base/JsonCoding.h"

#include <gtest/gtest.h>

#include <fstream>

namespace tavo {
namespace {

class Journal : public testing::Test {
protected:
    void write(const std::string& content) const { std::ofstream(file) << content; }

    TemporaryDirectory folder;
    std::filesystem::path file = folder.path() / "overrides.json";
    SleepOverrideJournal journal{file};
};

TEST_F(Journal, IsEmptyWithoutAFile) {
    EXPECT_TRUE(journal.load().isEmpty());
}

TEST_F(Journal, GivesBackWhatWasSaved) {
    SleepOverrideRecord record;
    record.overrides = {{{12, 3456}, {PMSetScope::ac}},
                        {{13, 9007199254740993}, {PMSetScope::all, PMSetScope::battery}, 1000}};
    record.scopesInForce = {PMSetScope::all, PMSetScope::ac};
    journal.save(record);
    EXPECT_EQ(journal.load(), record);
}

TEST_F(Journal, IsReadableByAllAndWritableByItsOwnerAlone) {
    const auto before = umask(077);
    journal.save({{{{12, 3456}, {PMSetScope::ac}}}, {PMSetScope::ac}});
    umask(before);
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(file).permissions(),
              perms::owner_read | perms::owner_write | perms::group_read | perms::others_read);
}

TEST_F(Journal, LeavesNoFileWhenThereIsNothingToRemember) {
    journal.save({{}, {PMSetScope::ac}});
    EXPECT_TRUE(std::filesystem::exists(file));
    journal.save({});
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_NO_THROW(journal.save({}));
}

TEST_F(Journal, NamesAScopeOnceAndInOneOrder) {
    write(
        R"json({"overrides":[{"pid":1,"startTime":2,"scopes":["battery","ac","battery"]}],"scopesInForce":["ac","all"]})json");
    const auto record = journal.load();
    ASSERT_EQ(record.overrides.size(), 1U);
    EXPECT_EQ(record.overrides[0].scopes, (std::vector{PMSetScope::ac, PMSetScope::battery}));
    EXPECT_EQ(record.scopesInForce, (std::vector{PMSetScope::all, PMSetScope::ac}));
}

TEST_F(Journal, AcceptsTheNumbersAtTheEdge) {
    write(R"json({"overrides":[{"pid":1,"startTime":0,"scopes":[],"user":0},
                               {"pid":2147483647,"startTime":0,"scopes":[],"user":4294967294}],"scopesInForce":[]})json");
    const auto record = journal.load();
    ASSERT_EQ(record.overrides.size(), 2U);
    EXPECT_EQ(record.overrides[0].user, 0U);
    EXPECT_EQ(record.overrides[1].user, 4294967294U);
}

TEST_F(Journal, SaysWhatIsNoProcessAndWhatIsNoUser) {
    for (const auto& [fields, words] : {std::pair{R"("pid":0,"startTime":2)", "this is no process."},
                                        {R"("pid":4,"startTime":2,"user":-1)", "this is no user."}}) {
        write(std::string(R"json({"overrides":[{)json") + fields + R"json(,"scopes":[]}],"scopesInForce":[]})json");
        try {
            journal.load();
            FAIL() << fields;
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.debugDescription(), words);
        }
    }
}

TEST_F(Journal, RefusesWhatIsNoRecord) {
    for (const auto* text :
         {"", "[]", "{", R"json({"overrides":[]})json", R"json({"scopesInForce":[]})json",
          R"json({"overrides":{},"scopesInForce":[]})json", R"json({"overrides":[],"scopesInForce":["dc"]})json",
          R"json({"overrides":[{"pid":0,"startTime":2,"scopes":[]}],"scopesInForce":[]})json",
          R"json({"overrides":[{"pid":-4,"startTime":2,"scopes":[]}],"scopesInForce":[]})json",
          R"json({"overrides":[{"pid":4,"startTime":-2,"scopes":[]}],"scopesInForce":[]})json",
          R"json({"overrides":[{"pid":4,"startTime":2,"scopes":[],"user":-1}],"scopesInForce":[]})json",
          R"json({"overrides":[{"pid":4,"startTime":2,"scopes":[],"user":4294967295}],"scopesInForce":[]})json",
          R"json({"overrides":[{"pid":4,"startTime":2,"scopes":[],"user":"me"}],"scopesInForce":[]})json",
          R"json({"overrides":[{"pid":4,"scopes":[]}],"scopesInForce":[]})json"}) {
        write(text);
        EXPECT_THROW(journal.load(), DecodingError) << text;
    }
}

} // namespace
} // namespace tavo
