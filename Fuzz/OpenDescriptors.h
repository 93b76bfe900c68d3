#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace tavo {

/// How many descriptors this process has open, with the one that it takes to look.
inline std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/dev/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

} // namespace tavo
