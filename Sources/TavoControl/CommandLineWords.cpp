#include "TavoControl/CommandLineWords.h"

namespace tavo {

namespace {

/// The word without the quotes that are closed, and without those that are still open.
std::string unquoted(std::string_view typed) {
    std::string text;
    char quote = '\0';
    for (std::size_t index = 0; index < typed.size(); ++index) {
        const char character = typed[index];
        if (character == '\\' && quote != '\'' && index + 1 < typed.size()) {
            text += typed[++index];
        } else if (quote == '\0' && (character == '\'' || character == '"')) {
            quote = character;
        } else if (quote != '\0' && character == quote) {
            quote = '\0';
        } else {
            text += character;
        }
    }
    return text;
}

} // namespace

std::vector<CommandLineWord> wordsAsGiven(const std::vector<std::string>& words) {
    std::vector<CommandLineWord> result;
    for (const auto& word : words) {
        result.push_back({word, result.size() + 1});
    }
    return result;
}

std::vector<CommandLineWord> wordsOfBash(const std::vector<std::string>& words) {
    std::vector<CommandLineWord> result;
    bool isJoining = false;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isEquals = words[index] == "=" && !result.empty() && result.back().text.starts_with("--");
        if (isEquals || isJoining) {
            result.back().text += unquoted(words[index]);
        } else {
            result.push_back({unquoted(words[index]), index + 1});
        }
        isJoining = isEquals;
    }
    return result;
}

std::string quotedForBash(std::string_view word) {
    if (const auto equals = word.find('='); word.starts_with("--") && equals != std::string_view::npos) {
        word.remove_prefix(equals + 1);
    }
    std::string text;
    for (const char character : word) {
        text += character == ' ' ? "\\ " : std::string(1, character);
    }
    return text;
}

} // namespace tavo
