#include "system/macos/ChildLocale.h"

#include <langinfo.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <string>
#include <string_view>

namespace tavo {

namespace {

struct Category {
    int number;
    const char* name;
};

constexpr std::array otherCategories{Category{LC_COLLATE, "LC_COLLATE"}, Category{LC_MESSAGES, "LC_MESSAGES"},
                                     Category{LC_MONETARY, "LC_MONETARY"}, Category{LC_NUMERIC, "LC_NUMERIC"},
                                     Category{LC_TIME, "LC_TIME"}};

/// The locale that the environment chooses for a category; empty where it chooses none. An empty variable counts as
/// unset.
std::string chosenLocale(const char* category) {
    for (const auto* variable : {"LC_ALL", category, "LANG"}) {
        if (const char* value = std::getenv(variable); value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

bool isInstalled(const std::string& locale, int category) {
    const std::string before = std::setlocale(category, nullptr);
    const bool isThere = std::setlocale(category, locale.c_str()) != nullptr;
    std::setlocale(category, before.c_str());
    return isThere;
}

} // namespace

void useUTF8InChildren() {
    for (const auto& [number, name] : otherCategories) {
        // LC_ALL goes, since it outranks LC_CTYPE; what it said of the others stays. A locale that is not installed, as
        // an ssh client of another system sends it, goes too: setlocale(3) would refuse LC_CTYPE along with it.
        if (const auto locale = chosenLocale(name); !locale.empty()) {
            setenv(name, isInstalled(locale, number) ? locale.c_str() : "C", 1);
        }
    }
    unsetenv("LC_ALL");
    setenv("LC_CTYPE", "UTF-8", 1);
}

void useInstalledUTF8Locale() {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const bool isInstalled = std::setlocale(LC_ALL, "") != nullptr;
    const bool knowsUTF8 = isInstalled && std::string_view(nl_langinfo(CODESET)) == "UTF-8";
    std::setlocale(LC_ALL, before.c_str());
    if (!isInstalled) {
        // One that is missing makes setlocale(3) refuse them all, so nothing is lost.
        setenv("LC_ALL", "C.UTF-8", 1);
    } else if (!knowsUTF8) {
        if (const char* all = std::getenv("LC_ALL"); all != nullptr && *all != '\0') {
            setenv("LC_ALL", "C.UTF-8", 1);
        }
        setenv("LC_CTYPE", "C.UTF-8", 1);
    }
}

} // namespace tavo
