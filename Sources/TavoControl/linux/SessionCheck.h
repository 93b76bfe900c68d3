#pragma once

#include "TavoControl/SystemChecks.h"

#include <string>

namespace tavo {

/// Where a process stands among logind's sessions.
struct SessionPlace {
    enum class Kind {
        local,         ///< in a session on this computer's screen
        remote,        ///< in a remote session
        userManager,   ///< run by the user's own service manager, as desktops do with applications
        none,          ///< in none
        notAskedAbout, ///< root needs none
    };
    Kind kind = Kind::none;
    bool isActive = false;

    /// The unit of the user's service manager, such as `user@1000.service`.
    std::string unit;

    static SessionPlace ofThisProcess();
};

/// @param areLocksGranted  whether logind granted every lock that was tried: a process of the user's manager gets them
///                         when the user has a session on the screen.
SystemCheck checkSession(const SessionPlace& place, bool areLocksGranted);

} // namespace tavo
