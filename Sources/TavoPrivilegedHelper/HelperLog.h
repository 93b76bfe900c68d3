#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

namespace tavo {

/// Goes to the system's log, which knows who wrote it and when, and to standard error for somebody at a terminal. May
/// be called from any thread.
void logHelper(const std::string& line) noexcept;

/// A log for lines that others cause: it passes a burst of them on and then one an interval, and says how many it left
/// out. May be written to from any thread, when `log` and `clock` may be called from any.
class BoundedLog {
public:
    using Log = std::function<void(const std::string&)>;
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    static constexpr std::size_t burst = 20;
    static constexpr std::chrono::seconds interval{3};

    explicit BoundedLog(
        Log log, Clock clock = [] { return std::chrono::steady_clock::now(); });

    void write(const std::string& line);

private:
    Log log;
    Clock clock;
    std::mutex mutex;
    std::size_t allowance = burst;
    std::chrono::steady_clock::time_point countedFrom;
    std::size_t omitted = 0;
};

} // namespace tavo
