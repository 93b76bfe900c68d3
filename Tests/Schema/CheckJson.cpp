#include "Support/linux/JsonSchema.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>

namespace tavo {
namespace {

/// Returns whether the text is JSON that the schema describes in full, and says what of it is not.
bool isDescribed(const JsonSchema& schema, const std::string& text) {
    const auto problems = schema.strictProblems(parseJson(text));
    for (const auto& problem : problems) {
        fmt::print(stderr, "check-json: {}\n", problem);
    }
    if (!problems.empty()) {
        fmt::print(stderr, "check-json: that was {}\n", text);
    }
    return problems.empty();
}

bool areLinesDescribed(const JsonSchema& schema) {
    std::size_t count = 0;
    bool isFine = true;
    for (std::string line; std::getline(std::cin, line); ++count) {
        isFine = isDescribed(schema, line) && isFine;
    }
    if (count == 0) {
        fmt::print(stderr, "check-json: there is no line.\n");
    }
    return isFine && count > 0;
}

} // namespace
} // namespace tavo

/// Usage: check-json FOLDER SCHEMA [--lines]. Succeeds when standard input is JSON (with --lines, a JSON text on every
/// line) that a schema describes in full. "check-json FOLDER --fields" prints the fields of all of them, for fields.txt.
int main(int count, char** values) {
    const bool isList = count == 3 && std::string(values[2]) == "--fields";
    const bool hasLines = count == 4 && std::string(values[3]) == "--lines";
    if (count != 3 && !hasLines) {
        fmt::print(stderr, "check-json: name the folder of the schemas and one of them.\n");
        return 64;
    }
    try {
        if (isList) {
            for (const auto& name : tavo::JsonSchema::namesIn(values[1])) {
                fmt::print("{}\n", fmt::join(tavo::JsonSchema(values[1], name).fields(), "\n"));
            }
            return EXIT_SUCCESS;
        }
        const tavo::JsonSchema schema(values[1], values[2]);
        const bool isFine = hasLines
                                ? tavo::areLinesDescribed(schema)
                                : tavo::isDescribed(schema, std::string(std::istreambuf_iterator<char>(std::cin), {}));
        return isFine ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        fmt::print(stderr, "check-json: {}\n", error.what());
        return EXIT_FAILURE;
    }
}
