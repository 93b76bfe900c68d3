#include "TavoControl/DoctorCommand.h"

#include "Support/DescribedJson.h"
#include "TavoControl/CommandTest.h"
#include "base/JsonCoding.h"

#include <grp.h>
#include <unistd.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

const SystemCheck fine{.subject = "logind", .finding = "is running"};
const SystemCheck limited{
    .subject = "sleep lock", .verdict = CheckVerdict::limited, .finding = "refused", .advice = "run sudo tavoctl run."};
const SystemCheck broken{
    .subject = "folder", .verdict = CheckVerdict::broken, .finding = "/x cannot be written", .advice = "fix it."};
const SystemCheck unavailable{
    .subject = "logind", .verdict = CheckVerdict::unavailable, .finding = "is not running", .advice = "start it."};

class DoctorCommandTest : public CommandTest {
protected:
    static ExitStatus statusFor(const std::vector<SystemCheck>& checks) {
        auto status = ExitStatus::wrongUsage;
        printed([&] { status = printChecks({}, checks); });
        return status;
    }

    static std::string run(const std::vector<SystemCheck>& checks, bool json = false) {
        return printed([&] { printChecks({.json = json}, checks); });
    }

    SystemCheck surroundings(const std::string& subject) const { return surroundingsOf(*store, subject); }

    SystemCheck surroundingsOf(const TavoStore& ofStore, const std::string& subject) const {
        for (const auto& check : checkSurroundings(platform, ofStore)) {
            if (check.subject == subject) {
                return check;
            }
        }
        ADD_FAILURE() << "nothing checks " << subject;
        return {};
    }

    SystemCheck folderCheck(const std::filesystem::path& root) const {
        return surroundingsOf(TavoStore(TavoPaths{root}), "folder");
    }
};

TEST_F(DoctorCommandTest, EveryCheckIsALineAndItsAdviceAnother) {
    EXPECT_THAT(linesOf(run({fine, limited, broken, unavailable})),
                ElementsAre("ok           logind           is running", "limited      sleep lock       refused",
                            std::string(30, ' ') + "run sudo tavoctl run.",
                            "broken       folder           /x cannot be "
                            "written",
                            std::string(30, ' ') + "fix it.", "unavailable  logind           is not running",
                            std::string(30, ' ') + "start it."));
}

TEST_F(DoctorCommandTest, WithJsonEveryCheckIsAnObject) {
    EXPECT_EQ(describedJson("doctor", run({fine, limited}, true)),
              Json::parse(R"([{"subject": "logind", "verdict": "ok", "finding": "is running", "advice": ""},
                              {"subject": "sleep lock", "verdict": "limited", "finding": "refused",
                               "advice": "run sudo tavoctl run."}])"));
}

TEST_F(DoctorCommandTest, TheStatusIsThatOfTheWorstFinding) {
    EXPECT_EQ(statusFor({fine}), ExitStatus::success);
    EXPECT_EQ(statusFor({fine, limited}), ExitStatus::success);
    EXPECT_EQ(statusFor({broken, fine}), ExitStatus::failure);
    EXPECT_EQ(statusFor({unavailable, fine}), ExitStatus::systemUnavailable);
    EXPECT_EQ(statusFor({broken, unavailable}), ExitStatus::systemUnavailable);
}

TEST_F(DoctorCommandTest, ControlCharactersFromOutsideAreVisible) {
    auto check = broken;
    check.finding = "/x\x1B[2J\ny";
    EXPECT_THAT(linesOf(run({check})), ElementsAre(HasSubstr("/x^[[2J^Jy"), HasSubstr("fix it.")));
}

TEST_F(DoctorCommandTest, WhereAllIsWellNothingIsAdvised) {
    processes->processes = {{.pid = 1}, {.pid = 2}};
    const auto checks = checkSurroundings(platform, *store);
    ASSERT_THAT(checks, SizeIs(5));
    for (const auto& check : checks) {
        EXPECT_EQ(check.verdict, CheckVerdict::fine) << check.subject;
        EXPECT_EQ(check.advice, "") << check.subject;
    }
    EXPECT_EQ(surroundings("process table").finding, "2 processes can be seen");
    EXPECT_EQ(surroundings("power").finding, "ac");
    EXPECT_EQ(surroundings("configuration").finding, "no file yet; the defaults apply");
    EXPECT_EQ(surroundings("folder").finding, folder.path().string() + " can be written");
    EXPECT_EQ(surroundings("history").finding, "history.jsonl can be written");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "looking writes nothing";
}

TEST_F(DoctorCommandTest, AHistoryThatCannotBeWrittenLimits) {
    std::filesystem::create_symlink("elsewhere", store->paths().historyURL());
    const auto check = surroundings("history");
    EXPECT_EQ(check.verdict, CheckVerdict::limited);
    EXPECT_THAT(check.finding, HasSubstr(store->paths().historyURL().string()));
    EXPECT_THAT(check.advice, HasSubstr("tavo still keeps awake"));
}

TEST_F(DoctorCommandTest, AnUnknownPowerSourceLimits) {
    power->status = {};
    const auto check = surroundings("power");
    EXPECT_EQ(check.verdict, CheckVerdict::limited);
    EXPECT_EQ(check.finding, "the power source is unknown");
    EXPECT_THAT(check.advice, HasSubstr("use any"));
}

TEST_F(DoctorCommandTest, AProcessTableThatCannotBeReadIsBroken) {
    processes->failure =
        std::make_exception_ptr(std::system_error(EACCES, std::generic_category(), "could not open /proc"));
    const auto check = surroundings("process table");
    EXPECT_EQ(check.verdict, CheckVerdict::broken);
    EXPECT_EQ(check.finding, "could not open /proc: permission denied");
}

TEST_F(DoctorCommandTest, AUsableConfigurationIsNamed) {
    store->saveConfig(AppConfig::defaultConfig());
    EXPECT_EQ(surroundings("configuration").finding, store->paths().configURL().string() + " can be used");
}

TEST_F(DoctorCommandTest, ABrokenConfigurationIsBrokenAndStays) {
    const auto file = folder.write("config.json", "{\"isEnabled\": 1}");
    const auto check = surroundings("configuration");
    EXPECT_EQ(check.verdict, CheckVerdict::broken);
    EXPECT_THAT(check.finding, HasSubstr(file.string()));
    EXPECT_THAT(check.finding, HasSubstr("isEnabled"));
    EXPECT_EQ(fileContent(file), "{\"isEnabled\": 1}");
}

TEST_F(DoctorCommandTest, AMissingFolderIsFineWhereItCanBeMade) {
    const auto root = folder.path() / "not" / "yet";
    EXPECT_EQ(folderCheck(root).verdict, CheckVerdict::fine);
    EXPECT_FALSE(std::filesystem::exists(root.parent_path()));
}

TEST_F(DoctorCommandTest, ALinkThatLeadsNowhereIsBroken) {
    const auto link = folder.path() / "link";
    std::filesystem::create_symlink("/nowhere/at/all", link);
    for (const auto& root : {link, link / "below"}) {
        const auto check = folderCheck(root);
        EXPECT_EQ(check.verdict, CheckVerdict::broken);
        EXPECT_EQ(check.finding, link.string() + " is a link to /nowhere/at/all, which does not exist");
    }
}

TEST_F(DoctorCommandTest, AFileInThePlaceOfTheFolderIsBroken) {
    const auto file = folder.write("file", "");
    for (const auto& root : {file, file / "below"}) {
        const auto check = folderCheck(root);
        EXPECT_EQ(check.verdict, CheckVerdict::broken);
        EXPECT_THAT(check.finding, ::testing::EndsWith(file.string() + " is not a folder"));
        EXPECT_THAT(check.advice, HasSubstr("--root"));
    }
}

/// Exits with 0 when the folder is found broken for a user who is not root.
[[noreturn]] void judgeAsOrdinaryUser(const std::function<SystemCheck()>& check, const std::string& finding) {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0)) {
        _exit(2);
    }
    const auto found = check();
    std::fputs((found.finding + "\n").c_str(), stderr);
    _exit(found.verdict == CheckVerdict::broken && found.finding.ends_with(finding) ? 0 : 1);
}

TEST_F(DoctorCommandTest, AFolderThatMayNotBeWrittenIsBroken) {
    using std::filesystem::perms;
    const auto root = folder.path() / "shut";
    std::filesystem::create_directory(root);
    std::filesystem::permissions(folder.path(), perms::owner_all | perms::others_read | perms::others_exec);
    std::filesystem::permissions(root, perms::owner_read | perms::owner_exec | perms::others_read | perms::others_exec);
    for (const auto& asked : {root, root / "below"}) {
        EXPECT_EXIT(judgeAsOrdinaryUser([&] { return folderCheck(asked); }, root.string() + " cannot be written"),
                    ::testing::ExitedWithCode(0), "");
    }
}

TEST_F(DoctorCommandTest, AFolderBehindAClosedOneIsBrokenToo) {
    const auto outer = folder.path() / "shut";
    std::filesystem::create_directories(outer / "inner");
    using std::filesystem::perms;
    std::filesystem::permissions(folder.path(), perms::owner_all | perms::others_read | perms::others_exec);
    std::filesystem::permissions(outer, perms::none);
    EXPECT_EXIT(judgeAsOrdinaryUser([&] { return folderCheck(outer / "inner"); },
                                    (outer / "inner").string() + " cannot be written"),
                ::testing::ExitedWithCode(0), "");
    std::filesystem::permissions(outer, perms::owner_all);
}

} // namespace
} // namespace tavo
