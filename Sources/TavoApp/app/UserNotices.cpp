#include "app/UserNotices.h"

#include <algorithm>
#include <utility>

namespace tavo {

namespace {

void addOnce(std::vector<std::string>& texts, const std::optional<std::string>& text) {
    if (text && std::find(texts.begin(), texts.end(), *text) == texts.end()) {
        texts.push_back(*text);
    }
}

} // namespace

UserNotices UserNotices::of(const TavoAppModel& model) {
    UserNotices notices;
    if (const auto& error = model.configFileError()) {
        // The same text may be the last error, too.
        notices.errors.push_back("config.json cannot be used: " + *error);
    }
    if (model.lastError() != model.configFileError()) {
        addOnce(notices.errors, model.lastError());
    }
    addOnce(notices.warnings, model.editedFileNotice());
    if (model.hasLostAssertion()) {
        notices.warnings.emplace_back("the lock was lost and is being taken again.");
    }
    addOnce(notices.warnings, model.assertionNotice());
    return notices;
}

UserNotices UserNotices::withHint(const std::string& hint) const {
    auto notices = *this;
    if (!hint.empty()) {
        addOnce(notices.warnings, hint);
    }
    return notices;
}

std::optional<std::string> AwakeEndWatch::update(const TavoAppModel& model) {
    if (model.hasLostAssertion()) {
        return std::nullopt; // the evaluation that follows at once decides whether it ends
    }
    const auto& snapshot = model.runtimeSnapshot();
    const bool hasEnded = std::exchange(wasAwake, snapshot.isWakeAssertionActive) && !snapshot.isWakeAssertionActive;
    const bool isUnwanted = snapshot.lastDecisionReason == RuntimeDecisionReason::batteryCutoffReached ||
                            snapshot.lastDecisionReason == RuntimeDecisionReason::error;
    if (!hasEnded || !isUnwanted) {
        return std::nullopt;
    }
    const auto copy = model.runtimeStatusCopy();
    return copy.title + ": " + copy.detail;
}

} // namespace tavo
