#pragma once

#include "app/views/TrayWatch.h"

namespace tavo {

/// A tray that comes and goes as the test says.
class ScriptedTrayWatch final : public TrayWatch {
public:
    explicit ScriptedTrayWatch(bool isThere = false) : shown(isThere) {}

    bool isThere() const override { return shown; }

    void set(bool isThere) {
        shown = isThere;
        Q_EMIT changed();
    }

private:
    bool shown;
};

} // namespace tavo
