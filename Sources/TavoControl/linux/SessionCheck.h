#pragma once

#include "TavoControl/SystemChecks.h"

#include <string>

namespace tavo {

/// Where a process stands among logind's sessions.
struct SessionPlace {
    enum class Kind {
        local,         ///< in a session on this computer's screen
        remote,        ///< in one from afar
        userManager,   ///< run by the user's own service manager, as desktops do with applications
        none,          ///< in none
        notAskedAbout, ///< root needs none
    };
    Kind kind = Kind::none;
    bool isActive = false;

    /// Of the service manager, such as `user@1000.service`.
    std::string unit;

    static SessionPlace ofThisProcess();
};

/// @param areLocksGranted  whether logind gave every lock that was tried: to a process of the user's manager it does so
///                         for the sake of the session that the user has on the screen.
SystemCheck checkSession(const SessionPlace& place, bool areLocksGranted);

} // namespace tavo
