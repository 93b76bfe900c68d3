#include "login/macos/HeadlessLaunchAgent.h"

namespace tavo {

namespace {

constexpr std::int64_t secondsBetweenStarts = 300;

std::filesystem::path agentFile(const std::filesystem::path& home) {
    return home / "Library" / "LaunchAgents" / (std::string(HeadlessAgentDefinition::label) + ".plist");
}

} // namespace

PropertyListValue HeadlessAgentDefinition::propertyList() const {
    using Array = PropertyListValue::Array;
    using Dictionary = PropertyListValue::Dictionary;
    return Dictionary{{"Label", std::string(label)},
                      {"ProgramArguments", Array{tavoctlPath, "run", "--service"}},
                      {"RunAtLoad", true},
                      {"KeepAlive", Dictionary{{"SuccessfulExit", false}}},
                      {"ThrottleInterval", secondsBetweenStarts},
                      {"StandardErrorPath", errorLogPath}};
}

HeadlessLaunchAgent::HeadlessLaunchAgent(const std::filesystem::path& home, std::shared_ptr<CommandRunning> runner,
                                         Sleeper sleeper)
    : errorLog(home / "Library" / "Logs" / (std::string(HeadlessAgentDefinition::label) + ".log")),
      agent(std::string(HeadlessAgentDefinition::label), agentFile(home), std::move(runner), std::move(sleeper)) {}

HeadlessLaunchManaging::Start HeadlessLaunchAgent::enable(const std::filesystem::path& tavoctl) {
    const HeadlessAgentDefinition definition{.tavoctlPath = tavoctl.string(), .errorLogPath = errorLog.string()};
    if (const auto rest = agent.load(definition.propertyList())) {
        rest();
    }
    return {};
}

bool HeadlessLaunchAgent::disable() {
    const bool wasEnabled = isEnabled();
    agent.unload();
    return wasEnabled;
}

} // namespace tavo
