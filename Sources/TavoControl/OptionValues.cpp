#include "TavoControl/OptionValues.h"

namespace tavo {

const Choices<TriggerPreset>& presetChoices() {
    static const auto choices = [] {
        Choices<TriggerPreset> all;
        for (const auto preset : allCases<TriggerPreset>()) {
            all.emplace_back(rawValue(preset), preset);
        }
        return all;
    }();
    return choices;
}

const Choices<PowerSourcePolicy>& powerChoices() {
    static const Choices<PowerSourcePolicy> choices{{"any", PowerSourcePolicy::any},
                                                    {"ac", PowerSourcePolicy::acOnly},
                                                    {"battery", PowerSourcePolicy::batteryOnly}};
    return choices;
}

const Choices<WatchMode>& lidChoices() {
    static const Choices<WatchMode> choices{
        {"open", WatchMode::open}, {"closed", WatchMode::closed}, {"both", WatchMode::both}};
    return choices;
}

const Choices<bool>& loginChoices() {
    static const Choices<bool> choices{{"on", true}, {"off", false}};
    return choices;
}

} // namespace tavo
