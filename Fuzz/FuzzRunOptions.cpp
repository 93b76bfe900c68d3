#include "Require.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/RunOptionsFile.h"
#include "base/JsonCoding.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using tavo::require;

/// Whatever a file holds, it is either options of a run or a sentence that names the file and a line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > tavo::RunOptionsFile::maxSize) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const tavo::RunOptionsFile file(std::filesystem::path("/home/run.conf"));
    try {
        const auto options = file.parsed(text);
        require(!options.isService, "the file does not refer to itself");
        require(options.bound.processes.empty(), "no process id comes from a file");
        require(options.overrides.json() == file.parsed("# again\n" + std::string(text)).overrides.json(),
                "a comment changes nothing");
    } catch (const tavo::ConfigurationError& error) {
        const auto sentence = error.description();
        require(sentence.starts_with("/home/run.conf, line "), "an error names the file and the line");
        require(sentence.ends_with('.') || sentence.ends_with('?'), "an error is a sentence");
    }
    return 0;
}
