#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace tavo {

/// Messages to the helper that no client of its own would send. None of them is a whole command that changes anything.
class HostileMessages {
public:
    struct Message {
        /// Sent one after the other; the sender ends its side after the last.
        std::vector<std::string> pieces;

        /// Whether the sender waits for what comes back, or is gone at once.
        bool waitsForReply = true;
    };

    explicit HostileMessages(std::uint32_t seed) : random(seed) {}

    Message next();

private:
    std::size_t below(std::size_t bound) { return random() % bound; }
    std::string bytes(std::size_t count);
    std::string truncated();
    std::string tooLong();
    std::string ofWrongTypes();
    std::string deeplyNested();

    std::minstd_rand random;
};

} // namespace tavo
