#pragma once

#include "base/Text.h"
#include "config/TriggerRule.h"
#include "system/ProcessSnapshot.h"

namespace tavo {

/// Whether a rule matches a process: its query is somewhere in the command line, or is the executable's name, without
/// regard to case and diacritics. The query is used as it stands; an empty one matches nothing.
class TriggerMatcher {
public:
    explicit TriggerMatcher(const TriggerRule& rule) : strategy(rule.matchStrategy), query(rule.query) {}

    bool matches(const ProcessSample& sample) const {
        return strategy == TriggerMatchStrategy::executableName ? query.equals(sample.executableName)
                                                                : query.isContainedIn(sample.commandLine);
    }

private:
    TriggerMatchStrategy strategy;
    FoldedQuery query;
};

} // namespace tavo
