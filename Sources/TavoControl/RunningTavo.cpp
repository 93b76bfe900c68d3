#include "TavoControl/RunningTavo.h"

#include "base/JsonCoding.h"
#include "config/InstanceLock.h"

#include <csignal>

namespace tavo {

std::optional<RunningTavo> RunningTavo::find(const TavoStoring& store) {
    const auto lock = store.paths().lockURL();
    const auto holder = InstanceLock::holder(lock);
    if (!holder) {
        return std::nullopt;
    }
    RunningTavo running{.processID = *holder, .overrides = {}};
    try {
        if (const auto note = InstanceLock::noteOfHolder(lock); !note.empty()) {
            const auto object = parseJson(note);
            running.overrides = RunOverrides::fromJson(object);
            running.assertionNotice = object.value(InstanceLock::assertionNoticeKey, std::string());
            running.whileWorking = JsonObjectReader(object).optional<WorkRequirement>(WorkRequirement::noteKey);
            running.hasUnsavedEdits = object.value(InstanceLock::unsavedEditsKey, false);
        }
    } catch (const std::exception&) {
        // Another version wrote the note; the best guess is that it follows the file.
        running.overrides = {};
        running.whileWorking.reset();
    }
    return running;
}

std::optional<pid_t> tellRunningTavo(const TavoStoring& store) {
    const auto holder = InstanceLock::holder(store.paths().lockURL());
    return holder && kill(*holder, SIGUSR1) == 0 ? holder : std::nullopt;
}

} // namespace tavo
