#include "SyntheticProcfs.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tavo {

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

struct Program {
    std::string name;
    std::string cmdline;
};

/// A mixture as on a desktop: kernel threads, short and long names, browsers' long command lines.
const std::array<Program, 4>& programs() {
    static const std::array<Program, 4> all{{
        {"kworker/0:1H-kblockd", ""},
        {"bash", "-bash\0"s},
        {"gnome-session-b", "/usr/libexec/gnome-session-binary\0--systemd\0--session=gnome\0"s},
        {"chrome", "/opt/chrome/chrome\0--type=renderer\0--field-trial-handle="s + std::string(900, 'x') + "\0"s},
    }};
    return all;
}

void write(const fs::path& file, const std::string& content) {
    std::ofstream stream(file, std::ios::binary);
    if (!(stream << content).flush()) {
        throw std::runtime_error("could not write " + file.string());
    }
}

} // namespace

SyntheticProcfs::SyntheticProcfs(int processes) {
    auto name = (fs::temp_directory_path() / "tavo-procfs-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    folder = name;
    for (int pid = 1; pid <= processes; ++pid) {
        const auto& program = programs().at(static_cast<std::size_t>(pid) % programs().size());
        const auto id = std::to_string(pid);
        fs::create_directory(folder / id);
        write(folder / id / "stat", id + " (" + program.name + ") S " + std::to_string(pid / 8) +
                                        " 42 42 34816 42 4194304 2036 71264 0 7 150 25 113 32 20 0 1 0 3311 10375168 "
                                        "1152 18446744073709551615 1 1 0 0 0 0 0 4 65536 0 0 0 17 1 0 0 0 0 0\n");
        write(folder / id / "cmdline", program.cmdline);
    }
}

SyntheticProcfs::~SyntheticProcfs() {
    std::error_code ignored; // what is left behind in the temporary folder harms nobody
    fs::remove_all(folder, ignored);
}

} // namespace tavo
