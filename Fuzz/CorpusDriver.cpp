// Stands in for libFuzzer's main: runs a fuzz target over the files of the given folders, and over the empty input.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void run(const std::string& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

std::string content(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        throw std::runtime_error("could not read " + file.string());
    }
    return bytes;
}

/// How many files there were.
int runFolder(const fs::path& folder) {
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            // Said beforehand, so that the last line names the input of a crash.
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            run(content(entry.path()));
            ++count;
        }
    }
    return count;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        run({});
        int count = 0;
        for (int index = 1; index < argumentCount; ++index) {
            count += runFolder(arguments[index]);
        }
        if (count == 0) {
            std::fprintf(stderr, "there is no input in the given folders\n");
            return 1;
        }
        std::printf("%d inputs\n", count);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
