#include "TavoControl/CommandExamples.h"

#include "TavoControl/ExitStatus.h"
#include "app/CommandLineHelp.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tavo {

namespace {

std::string examplesOf(const std::string& command) {
    std::vector<std::string_view> lines;
    for (const auto& example : commandExamples()) {
        if (example.command == command) {
            lines.push_back(example.line);
        }
    }
    return lines.size() == 1 ? fmt::format("Example: {}", lines.front())
                             : fmt::format("Examples:\n  {}", fmt::join(lines, "\n  "));
}

std::string exitStatuses() {
    std::string text = "Exit status:\n";
    for (const auto& [status, meaning] : exitStatusMeanings) {
        text += fmt::format("  {:<2}  {}\n", static_cast<int>(status), meaning);
    }
    return text + "The status of exec is that of its command.\n\n"
                  "tavoctl COMMAND --help lists the options of a command.\n\n";
}

void addExamples(CLI::App& parent, const std::string& path) {
    for (const auto* each : commandsOf(parent)) {
        const auto name = path.empty() ? each->get_name() : path + " " + each->get_name();
        auto* command = parent.get_subcommand(each->get_name());
        command->footer(examplesOf(name));
        addExamples(*command, name);
    }
}

} // namespace

const std::vector<CommandExample>& commandExamples() {
    static const std::vector<CommandExample> examples{
        {"", "tavoctl run --preset codex --until 18:30"},
        {"", "tavoctl exec --power ac -- make -j2"},
        {"", "tavoctl explain"},
        {"run", "tavoctl run --preset claudeCode --while-working --power ac"},
        {"exec", "tavoctl exec --power ac -- make -j2"},
        {"status", "tavoctl status --json"},
        {"processes", "tavoctl processes --executable make --cpu"},
        {"history", "tavoctl history --since 48h"},
        {"explain", "tavoctl explain"},
        {"watch", "tavoctl watch"},
        {"doctor", "tavoctl doctor"},
        {"enable", "tavoctl enable"},
        {"disable", "tavoctl disable"},
        {"toggle", "tavoctl toggle"},
        {"preset", "tavoctl preset claudeCode"},
        {"match", "tavoctl match --executable rsync"},
        {"set", "tavoctl set batteryCutoffPercent 30"},
        {"get", "tavoctl get batteryCutoffPercent"},
        {"login", "tavoctl login on --while-working"},
        {"helper", "tavoctl helper status"},
        {"helper status", "tavoctl helper status --json"},
        {"helper install", "tavoctl helper install"},
        {"helper uninstall", "tavoctl helper uninstall"},
        {"helper reset", "tavoctl helper reset"},
    };
    return examples;
}

void addExamples(CLI::App& program) {
    program.footer(exitStatuses() + examplesOf(""));
    addExamples(program, "");
}

} // namespace tavo
