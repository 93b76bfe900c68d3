#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace tavo {

/// The time that all waits of one request share: many waits, each bounded, would still keep everybody else waiting.
class TimeBudget {
public:
    using Milliseconds = std::chrono::milliseconds;
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// Granted beyond the budget too: a failed change needs a few answers to be reverted, most of which come at once.
    static constexpr Milliseconds minWait{100};

    explicit TimeBudget(
        Milliseconds total, Clock clock = [] { return std::chrono::steady_clock::now(); })
        : total(total), clock(std::move(clock)) {}

    /// A request, for as long as it lives; there is one at a time.
    class Request {
    public:
        explicit Request(TimeBudget& budget) : budget(budget) { budget.end = budget.clock() + budget.total; }
        Request(const Request&) = delete;
        Request& operator=(const Request&) = delete;
        ~Request() { budget.end.reset(); }

    private:
        TimeBudget& budget;
    };

    /// How long the next wait may take: as long as usual, where no request is served or it has time left.
    Milliseconds boundOf(Milliseconds usual) const {
        if (!end) {
            return usual;
        }
        const auto left = std::chrono::duration_cast<Milliseconds>(*end - clock());
        return std::min(usual, std::max(left, minWait));
    }

private:
    Milliseconds total;
    Clock clock;
    std::optional<std::chrono::steady_clock::time_point> end;
};

} // namespace tavo
