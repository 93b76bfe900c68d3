#pragma once

#include "TavoControl/ControlCommandLine.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace tavo {

/// "run.conf": the options of a run that a service manager starts, beside config.json.
///
/// Each line is one option of `tavoctl run`, without its hyphens, then a space and the value, which is the rest of the
/// line: "preset claudeCode", "command npm run dev", "while-working". Blank lines and lines that begin with # are
/// ignored. UTF-8. The options go through the parser of the command line, so that both know the same ones.
class RunOptionsFile {
public:
    static constexpr std::size_t maxSize = 4096;
    static constexpr std::size_t maxOptions = 32;

    explicit RunOptionsFile(std::filesystem::path path) : path(std::move(path)) {}

    /// In the folder of config.json.
    explicit RunOptionsFile(const TavoPaths& paths) : RunOptionsFile(paths.rootDirectory / "run.conf") {}

    /// No options when there is no file. @throws ConfigurationError that names the file, the line and the mistake;
    /// UntrustedPathError.
    RunOptions read() const;

    /// The options in a file's text. @throws ConfigurationError
    RunOptions parsed(std::string_view text) const;

    const std::filesystem::path& file() const { return path; }

private:
    std::filesystem::path path;
};

} // namespace tavo
