#pragma once

#include <utility>

namespace tavo {

/// The properties of the model that are announced when they change.
enum class ModelProperty : unsigned {
    config = 1U << 0U,
    runtimeSnapshot = 1U << 1U,
    powerStatus = 1U << 2U,
    lastError = 1U << 3U,
    configFileError = 1U << 4U,
    assertionNotice = 1U << 5U,
    helperInstallState = 1U << 6U,
    draftConfig = 1U << 7U,
    isInstallingHelper = 1U << 8U,
    supportsSilentHelperReset = 1U << 9U,
    editedFileNotice = 1U << 10U,
};

/// A set of properties: bits of ModelProperty.
using ModelChanges = unsigned;

/// Collects which properties have changed since they were last announced.
class ModelChangeRecord {
public:
    void mark(ModelProperty property) { changes |= static_cast<ModelChanges>(property); }

    /// Assigns a property, and marks it when that makes a difference.
    template <typename Value, typename NewValue>
    void assign(ModelProperty property, Value& current, NewValue&& next) {
        Value value(std::forward<NewValue>(next));
        if (!(current == value)) {
            current = std::move(value);
            mark(property);
        }
    }

    /// The changes so far; the record is empty afterwards.
    ModelChanges take() { return std::exchange(changes, 0U); }

private:
    ModelChanges changes = 0;
};

} // namespace tavo
