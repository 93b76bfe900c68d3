#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tavo {

/// A C stream whose text the test can read.
class CapturedStream {
public:
    CapturedStream() : stream(std::tmpfile()) {
        if (stream == nullptr) {
            std::abort();
        }
    }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;
    ~CapturedStream() { std::fclose(stream); }

    std::FILE* get() const { return stream; }

    /// Everything that was written so far.
    std::string text() const {
        std::fflush(stream);
        std::string content(static_cast<std::size_t>(std::ftell(stream)), '\0');
        std::rewind(stream);
        content.resize(std::fread(content.data(), 1, content.size(), stream));
        return content;
    }

private:
    std::FILE* stream;
};

} // namespace tavo
