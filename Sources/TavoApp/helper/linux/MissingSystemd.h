#pragma once

#include <string>

namespace tavo {

/// The words for a system that systemd does not run, where there is no helper.
struct MissingSystemd {
    MissingSystemd() = delete;

    /// For whoever wants to have the helper.
    static std::string forInstallation() {
        return std::string(cause) + "; keeping awake with the lid closed is not possible here.";
    }

    /// For whoever wants to be rid of it.
    static std::string forRemoval() { return std::string(cause) + "."; }

private:
    static constexpr const char* cause =
        "the privileged helper is a service of systemd, which does not run this system";
};

} // namespace tavo
