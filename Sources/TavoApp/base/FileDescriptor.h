#pragma once

#include <unistd.h>

#include <utility>

namespace tavo {

/// Owns a file descriptor and closes it. Holds nothing when it was made from a negative number.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            descriptor = std::exchange(other.descriptor, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    int get() const { return descriptor; }
    explicit operator bool() const { return descriptor >= 0; }

    void reset() {
        if (descriptor >= 0) {
            close(std::exchange(descriptor, -1));
        }
    }

private:
    int descriptor = -1;
};

} // namespace tavo
