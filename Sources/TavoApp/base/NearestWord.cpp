#include "base/NearestWord.h"

#include "base/Text.h"

#include <algorithm>
#include <tuple>

namespace tavo {

namespace {

constexpr std::size_t shortestPrefix = 2;

/// The optimal string alignment distance: how many letters to insert, delete, replace or swap with their neighbour, no
/// letter twice.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last;
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t column = 0; column <= right.size(); ++column) {
        row[column] = column;
    }
    for (std::size_t line = 1; line <= left.size(); ++line) {
        beforeLast = std::move(last);
        last = std::move(row);
        row.assign(right.size() + 1, line);
        for (std::size_t column = 1; column <= right.size(); ++column) {
            const std::size_t replaced = left[line - 1] == right[column - 1] ? 0 : 1;
            row[column] = std::min({last[column] + 1, row[column - 1] + 1, last[column - 1] + replaced});
            if (line > 1 && column > 1 && left[line - 1] == right[column - 2] && left[line - 2] == right[column - 1]) {
                row[column] = std::min(row[column], beforeLast[column - 2] + 1);
            }
        }
    }
    return row.back();
}

std::size_t commonPrefix(std::string_view left, std::string_view right) {
    return static_cast<std::size_t>(std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first -
                                    left.begin());
}

/// How far one is from the other; nothing when that is too far to be a slip of the fingers.
std::optional<std::size_t> mistakes(std::string_view given, std::string_view word) {
    const auto shorter = std::min(given.size(), word.size());
    const auto longer = std::max(given.size(), word.size());
    const auto bound = std::max<std::size_t>(1, longer / 3);
    if (longer - shorter > bound) {
        return std::nullopt;
    }
    const auto distance = editDistance(given, word);
    return distance <= bound && distance < shorter ? std::optional(distance) : std::nullopt;
}

} // namespace

std::optional<std::string> nearestWord(std::string_view given, const std::vector<std::string>& words) {
    const auto typed = lowercased(given);
    const std::string* nearest = nullptr;
    // Of words that are equally near, the one that begins like what was typed: first letters are rarely wrong.
    std::tuple<std::size_t, std::size_t> best;
    std::vector<const std::string*> completed;
    for (const auto& word : words) {
        const auto candidate = lowercased(word);
        if (typed.size() >= shortestPrefix && candidate.starts_with(typed)) {
            completed.push_back(&word);
        }
        if (const auto distance = mistakes(typed, candidate)) {
            const std::tuple rank{*distance, typed.size() - commonPrefix(typed, candidate)};
            if (nearest == nullptr || rank < best) {
                nearest = &word;
                best = rank;
            }
        }
    }
    if (nearest == nullptr && completed.size() == 1) {
        nearest = completed.front();
    }
    return nearest != nullptr ? std::optional(*nearest) : std::nullopt;
}

std::string didYouMean(const std::optional<std::string>& name) {
    return name ? "; did you mean " + *name + "?" : "";
}

} // namespace tavo
