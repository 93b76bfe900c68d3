#pragma once

#include <filesystem>

namespace tavo {

/// Files of the privileged helper that its clients and its installer know too.
struct HelperLocations {
    HelperLocations() = delete;

    /// The socket on which the service listens.
    static std::filesystem::path socket() { return "/run/com.vrd.tavo.helper/socket"; }

    /// The service's SleepOverrideJournal: in its own folder, which is gone after a restart of the machine as the
    /// setting itself is.
    static std::filesystem::path overrideJournal() { return "/run/com.vrd.tavo.helper/overrides.json"; }

    /// The unit with which a distribution's package has the service manager listen for the service.
    static std::filesystem::path packagedSocketUnit() { return "/usr/lib/systemd/system/com.vrd.tavo.helper.socket"; }

    /// The administrator's part of that unit, which grants one user its use.
    static std::filesystem::path grant() { return "/etc/systemd/system/com.vrd.tavo.helper.socket.d/grant.conf"; }

    /// Where logind looks for drop-ins that last until the machine is restarted, logind.conf(5).
    static std::filesystem::path lidDropInFolder() { return "/run/systemd/logind.conf.d"; }

    /// The drop-in that keeps a closed lid from sending the machine to sleep. The last one by name is the one that
    /// counts.
    static std::filesystem::path lidDropIn() { return lidDropInFolder() / lidDropInName; }

    static constexpr const char* lidDropInName = "zzz-com.vrd.tavo.helper.conf";
};

} // namespace tavo
