#include "login/macos/LoginLaunchManager.h"

namespace tavo {

PropertyListValue LaunchAgentDefinition::propertyList() const {
    using Array = PropertyListValue::Array;
    using Dictionary = PropertyListValue::Dictionary;
    return Dictionary{{"Label", std::string(label)},
                      {"ProgramArguments", Array{executablePath}},
                      {"RunAtLoad", true},
                      {"KeepAlive", false},
                      {"ProcessType", "Interactive"}};
}

/// The agent passes nothing on: the app reads its options itself.
LaunchAtLoginManaging::Remainder LoginLaunchManager::enable(const std::filesystem::path& executablePath,
                                                            const std::vector<std::string>& /*options*/) {
    return agent.load(LaunchAgentDefinition{executablePath.string()}.propertyList());
}

void LoginLaunchManager::disable() {
    agent.unload();
}

bool LoginLaunchManager::isEnabled() const {
    return agent.hasFile();
}

} // namespace tavo
