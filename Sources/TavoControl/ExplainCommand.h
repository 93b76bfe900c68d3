#pragma once

#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/Explanation.h"
#include "app/Platform.h"
#include "config/TavoStore.h"

#include <map>

namespace tavo {

/// Collects the facts of a running Tavo, or of the decision that one would take, and of the matching processes.
class ExplanationSource {
public:
    /// @param store  outlives this.
    ExplanationSource(const TavoStoring& store, Platform platform) : store(store), platform(std::move(platform)) {}

    /// Takes no lock and changes nothing. From the second call on, the facts include the CPU use of the matched
    /// processes since the last one. @throws ConfigurationError at the first call; later ones use the last valid
    /// configuration.
    ExplanationFacts collect();

private:
    struct CPUTime {
        double seconds = 0;
        TimePoint at;
    };

    AppConfig configOf(const StatusFacts& status, const std::exception_ptr& failure) const;
    void addTrees(ExplanationFacts& facts, const ProcessSnapshot& table);

    const TavoStoring& store;
    Platform platform;
    std::optional<AppConfig> lastConfig;
    std::map<std::int32_t, CPUTime> lastTimes;
};

/// Prints the decision step by step: of the running Tavo, or as it would be taken now. @throws ConfigurationError
ExitStatus printExplanation(const ExplainOptions& options, const TavoStoring& store, const Platform& platform);

} // namespace tavo
