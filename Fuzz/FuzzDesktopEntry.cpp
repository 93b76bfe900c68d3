#include "Pieces.h"
#include "Require.h"
#include "login/linux/AutostartLoginManager.h"

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {
namespace {

constexpr auto group = "Desktop Entry";

/// An entry as the desktops' own library reads it.
class DesktopsEntry {
public:
    explicit DesktopsEntry(std::string_view text) : file(g_key_file_new(), g_key_file_unref) {
        isEntry = g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr) != 0;
    }

    /// False for a text that is no entry, which no desktop obeys.
    explicit operator bool() const { return isEntry; }

    /// As it stands in the file, without the white space behind it, which a value that is no text does not have.
    std::optional<std::string> value(const char* key) const {
        auto raw = taken(g_key_file_get_value(file.get(), group, key, nullptr));
        while (raw && !raw->empty() && g_ascii_isspace(raw->back()) != 0) {
            raw->pop_back();
        }
        return raw;
    }

    /// Without the escapes of a string.
    std::optional<std::string> text(const char* key) const {
        return taken(g_key_file_get_string(file.get(), group, key, nullptr));
    }

private:
    static std::optional<std::string> taken(char* allocated) {
        const std::unique_ptr<char, decltype(&g_free)> owner(allocated, g_free);
        return owner ? std::optional<std::string>(owner.get()) : std::nullopt;
    }

    std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file;
    bool isEntry = false;
};

/// The words that the desktop starts: field codes expanded, of which only two percent signs may be there, then unquoted.
std::vector<std::string> startedWords(std::string_view exec) {
    std::string expanded;
    for (std::size_t index = 0; index < exec.size(); ++index) {
        expanded += exec[index];
        if (exec[index] == '%') {
            ++index;
            require(index < exec.size() && exec[index] == '%', "nothing in the line is a field code");
        }
    }
    char** words = nullptr;
    int count = 0;
    require(g_shell_parse_argv(expanded.c_str(), &count, &words, nullptr) != 0, "the line can be parsed");
    std::vector<std::string> result(words, words + count);
    g_strfreev(words);
    return result;
}

bool isControl(char character) {
    return (character >= 0 && character < 0x20) || character == 0x7F;
}

bool canBeInAnEntry(std::string_view text) {
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != 0 &&
           std::none_of(text.begin(), text.end(), isControl);
}

/// The first word is the program, the others its arguments.
void checkWriting(const std::vector<std::string>& words) {
    const std::vector<std::string> arguments(words.begin() + 1, words.end());
    for (const auto& argument : arguments) {
        if (!canBeInAnEntry(argument)) {
            return;
        }
    }
    const auto value = desktopExecValue(words.front(), arguments);
    require(value.has_value() == (canBeInAnEntry(words.front()) && !words.front().empty()),
            "every path is written that an entry can carry, and no other");
    if (!value) {
        return;
    }
    const auto text = "[Desktop Entry]\nType=Application\nExec=" + *value + "\nHidden=true\n";
    const DesktopsEntry entry(text);
    require(bool(entry), "it is an entry");
    require(entry.value("Exec") == value && desktopEntryValue(text, "Exec") == value, "both read what was written");
    require(entry.value("Hidden") == "true", "no other key is touched");
    auto started = startedWords(entry.text("Exec").value_or(""));
    if (words.front().find_first_of("%=") != std::string::npos) {
        require(started.size() >= 3 && started[0] == "/bin/sh" && started[1] == "-c" &&
                    started[2] == "exec \"$0\" \"$@\"",
                "a path that may not stand first comes through a shell");
        started.erase(started.begin(), started.begin() + 3);
    }
    require(started == words, "the desktop starts what was written");
}

void checkReading(const std::string& text) {
    const DesktopsEntry entry(text);
    // Neither a null byte nor what is no UTF-8 is text, and either of them ends a value somewhere.
    if (!entry || g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == 0) {
        return;
    }
    for (const auto* const key : {"Hidden", "X-GNOME-Autostart-enabled"}) {
        require(entry.value(key) == desktopEntryValue(text, key), "both read the same");
    }
}

} // namespace
} // namespace tavo

/// What is written into a desktop entry, and read from one, is what the desktops' own library makes of it. The input is
/// the text of an entry when it begins with a bracket, and otherwise a program and its arguments.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    if (input.starts_with('[')) {
        tavo::checkReading(input);
        return 0;
    }
    std::vector<std::string> words;
    for (const auto word : tavo::pieces(input)) {
        words.emplace_back(word);
    }
    tavo::checkWriting(words);
    return 0;
}
