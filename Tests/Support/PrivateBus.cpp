#include "Support/PrivateBus.h"

#include "Support/BusPump.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace tavo {
namespace {

std::filesystem::path makeTemporaryFolder() {
    auto name = (std::filesystem::temp_directory_path() / ("tavo-bus-" + std::string(6, 'X'))).string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "make a temporary folder");
    }
    return name;
}

} // namespace

PrivateBus::PrivateBus() : root(makeTemporaryFolder()) {
    if (::geteuid() == 0) {
        // For the programs that a test which runs as root starts as somebody else.
        ::chmod(root.c_str(), 0755);
    }
    std::filesystem::create_directories(root / "run");
    std::filesystem::create_directories(root / "services");
    std::ofstream(root / "bus.conf")
        << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig>\n"
           "  <type>session</type>\n"
           "  <listen>unix:path="
        << socket().string()
        << "</listen>\n"
           "  <auth>EXTERNAL</auth>\n"
           "  <servicedir>"
        << (root / "services").string()
        << "</servicedir>\n"
           "  <policy context=\"default\">\n"
           "    <allow user=\"*\"/>\n"
           "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
           "    <allow eavesdrop=\"true\"/>\n"
           "    <allow own=\"*\"/>\n"
           "  </policy>\n"
           "</busconfig>\n";
}

PrivateBus::~PrivateBus() {
    daemon.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
}

void PrivateBus::start() {
    SpawnedProgram::Options options;
    options.arguments = {"--config-file=" + (root / "bus.conf").string(), "--nofork", "--nopidfile",
                         "--print-address=1"};
    options.environment = {"PATH=/usr/bin:/bin"};
    daemon = std::make_unique<SpawnedProgram>("dbus-daemon", options);
    // The address is printed once the bus listens.
    if (!BusPump().until([this] { return !daemon->lines().empty() || daemon->exitStatus(); }) ||
        daemon->lines().empty()) {
        throw std::runtime_error("the private bus did not start: " + daemon->errorsSoFar());
    }
    printedAddress = daemon->lines().front();
}

void PrivateBus::stop(int signal) {
    daemon->signal(signal);
    if (!BusPump().until([this] { return daemon->exitStatus().has_value(); })) {
        throw std::runtime_error("the private bus did not stop");
    }
}

void PrivateBus::makeActivatable(const std::string& name, const std::filesystem::path& marker) const {
    std::ofstream(root / "services" / (name + ".service"))
        << "[D-BUS Service]\nName=" << name << "\nExec=/usr/bin/touch " << marker.string() << "\n";
}

} // namespace tavo
