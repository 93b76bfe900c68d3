#include "TavoControl/ExplainCommand.h"

#include "TavoControl/ExplanationSource.h"

namespace tavo {

ExitStatus printExplanation(const ExplainOptions& options, const TavoStoring& store, const Platform& platform) {
    const Explanation explanation(ExplanationSource(store, platform).look());
    const Console console(stdout);
    if (options.json) {
        console.print(shownJson(explanation.json()));
    } else {
        for (const auto& line : explanation.lines(console, console.width())) {
            console.print(line);
        }
    }
    return ExitStatus::success;
}

} // namespace tavo
