#pragma once

#include "TavoControl/Console.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavo {

/// A file to print into, which is no terminal.
class PrintedLines {
public:
    PrintedLines() : file(std::tmpfile()) {
        if (!file) {
            throw std::runtime_error("no temporary file could be made");
        }
    }

    std::FILE* stream() const { return file.get(); }
    Console console() const { return Console(stream()); }

    /// The lines printed since the last call.
    std::vector<std::string> take() {
        std::fseek(file.get(), readSoFar, SEEK_SET);
        std::vector<std::string> lines(1);
        for (int unit = std::fgetc(file.get()); unit != EOF; unit = std::fgetc(file.get())) {
            if (unit == '\n') {
                lines.emplace_back();
            } else {
                lines.back() += static_cast<char>(unit);
            }
        }
        readSoFar = std::ftell(file.get());
        std::fseek(file.get(), 0, SEEK_END);
        if (lines.back().empty()) {
            lines.pop_back();
        }
        return lines;
    }

private:
    struct Closer {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    std::unique_ptr<std::FILE, Closer> file;
    long readSoFar = 0;
};

} // namespace tavo
