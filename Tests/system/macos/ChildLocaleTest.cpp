#include "system/macos/ChildLocale.h"

#include "system/SystemCommandRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace tavo {
namespace {

using Variables = std::map<std::string, std::string>;

constexpr std::array variables{"LANG",        "LC_ALL",      "LC_COLLATE", "LC_CTYPE",
                               "LC_MESSAGES", "LC_MONETARY", "LC_NUMERIC", "LC_TIME"};

class ChildLocale : public testing::Test {
protected:
    ChildLocale() : before(current()) {}
    ~ChildLocale() override { set(before); }

    static Variables current() {
        Variables found;
        for (const auto* name : variables) {
            if (const char* value = std::getenv(name)) {
                found[name] = value;
            }
        }
        return found;
    }

    static void set(const Variables& wanted) {
        for (const auto* name : variables) {
            const auto value = wanted.find(name);
            value == wanted.end() ? unsetenv(name) : setenv(name, value->second.c_str(), 1);
        }
    }

    static Variables changed(const Variables& wanted) {
        set(wanted);
        useUTF8InChildren();
        return current();
    }

private:
    Variables before;
};

/// The value of all categories but LC_CTYPE.
Variables withOthers(const std::string& locale, Variables added) {
    for (const auto* name : {"LC_COLLATE", "LC_MESSAGES", "LC_MONETARY", "LC_NUMERIC", "LC_TIME"}) {
        added.emplace(name, locale);
    }
    return added;
}

TEST_F(ChildLocale, IsUTF8WhereThereIsNone) {
    EXPECT_EQ(changed({}), (Variables{{"LC_CTYPE", "UTF-8"}}));
    EXPECT_EQ(changed({{"LC_ALL", ""}, {"LANG", ""}}), (Variables{{"LANG", ""}, {"LC_CTYPE", "UTF-8"}}));
}

TEST_F(ChildLocale, IsUTF8WhereAnotherWasChosen) {
    EXPECT_EQ(changed({{"LC_CTYPE", "C"}}), (Variables{{"LC_CTYPE", "UTF-8"}}));
    EXPECT_EQ(changed({{"LC_CTYPE", "de_DE.ISO8859-1"}, {"LANG", "C"}}),
              withOthers("C", {{"LANG", "C"}, {"LC_CTYPE", "UTF-8"}}));
}

TEST_F(ChildLocale, IsUTF8WhereLCALLSaysSomethingElseAndTheRestStaysAsItSays) {
    EXPECT_EQ(changed({{"LC_ALL", "POSIX"}, {"LC_CTYPE", "C.UTF-8"}, {"LC_TIME", "C"}, {"LANG", "C"}}),
              withOthers("POSIX", {{"LANG", "C"}, {"LC_CTYPE", "UTF-8"}}));
}

TEST_F(ChildLocale, LosesLocalesThatAreNotInstalledSinceTheyWouldTakeUTF8AlongWithThem) {
    EXPECT_EQ(changed({{"LANG", "tlh_QO.UTF-8"}, {"LC_TIME", "POSIX"}}),
              withOthers("C", {{"LANG", "tlh_QO.UTF-8"}, {"LC_CTYPE", "UTF-8"}, {"LC_TIME", "POSIX"}}));
    EXPECT_EQ(changed({{"LC_ALL", "tlh_QO"}}), withOthers("C", {{"LC_CTYPE", "UTF-8"}}));
}

TEST_F(ChildLocale, TwiceIsAsGoodAsOnce) {
    const auto once = changed({{"LC_ALL", "C"}});
    EXPECT_EQ(changed(once), once);
}

TEST_F(ChildLocale, TheProgramsOwnIsLeftAlone) {
    const std::string own = std::setlocale(LC_ALL, nullptr);
    changed({{"LC_ALL", "POSIX"}, {"LANG", "tlh_QO"}});
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), own);
}

TEST_F(ChildLocale, ReachesChildren) {
    changed({{"LC_ALL", "C"}});
    const auto seen = SystemCommandRunner().run({.executableURL = "/usr/bin/env"}).standardOutput + "\n";
    EXPECT_THAT(seen, testing::HasSubstr("LC_CTYPE=UTF-8\n"));
    EXPECT_THAT(seen, testing::Not(testing::HasSubstr("LC_ALL=")));
}

class InstalledLocale : public ChildLocale {
protected:
    static Variables chosen(const Variables& wanted) {
        set(wanted);
        useInstalledUTF8Locale();
        return current();
    }
};

TEST_F(InstalledLocale, IsUsedWhereTheNamedOneIsMissing) {
    EXPECT_EQ(chosen({{"LC_ALL", "tlh_QO.UTF-8"}}), (Variables{{"LC_ALL", "C.UTF-8"}}));
    EXPECT_EQ(chosen({{"LANG", "C.UTF-8"}, {"LC_TIME", "tlh_QO.UTF-8"}}),
              (Variables{{"LANG", "C.UTF-8"}, {"LC_ALL", "C.UTF-8"}, {"LC_TIME", "tlh_QO.UTF-8"}}));
}

TEST_F(InstalledLocale, IsUsedWhereTheNamedOneKnowsNoUTF8) {
    EXPECT_EQ(chosen({{"LANG", "C"}}), (Variables{{"LANG", "C"}, {"LC_CTYPE", "C.UTF-8"}}));
    EXPECT_EQ(chosen({{"LC_ALL", "POSIX"}}), (Variables{{"LC_ALL", "C.UTF-8"}, {"LC_CTYPE", "C.UTF-8"}}));
}

TEST_F(InstalledLocale, ThatIsThereStays) {
    EXPECT_EQ(chosen({{"LANG", "C.UTF-8"}}), (Variables{{"LANG", "C.UTF-8"}}));
}

} // namespace
} // namespace tavo
