#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace tavo {

/// Starts the helper's removal, once for all who ask while it is under way.
class SingleRemoval {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// The helper that is still there after this long may be asked again.
    static constexpr std::chrono::seconds longest{90};

    /// @param start  begins a removal and returns, or throws when that is not possible.
    explicit SingleRemoval(
        std::function<void()> start, Clock clock = [] { return std::chrono::steady_clock::now(); })
        : start(std::move(start)), clock(std::move(clock)) {}

    /// @throws what the start throws; the next request tries again then.
    void request() {
        if (!startedAt || clock() - *startedAt >= longest) {
            start();
            startedAt = clock();
        }
    }

private:
    std::function<void()> start;
    Clock clock;
    std::optional<std::chrono::steady_clock::time_point> startedAt;
};

} // namespace tavo
