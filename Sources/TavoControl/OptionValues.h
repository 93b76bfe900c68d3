#pragma once

#include "config/AppConfig.h"

#include <string>
#include <utility>
#include <vector>

namespace tavo {

/// Names on the command line with the values that they stand for, in the order in which they are listed.
template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

const Choices<TriggerPreset>& presetChoices();
const Choices<PowerSourcePolicy>& powerChoices();
const Choices<WatchMode>& lidChoices();

/// Of launch at login.
const Choices<bool>& loginChoices();

template <typename Value>
std::vector<std::string> namesOf(const Choices<Value>& choices) {
    std::vector<std::string> names;
    for (const auto& [name, value] : choices) {
        names.push_back(name);
    }
    return names;
}

} // namespace tavo
