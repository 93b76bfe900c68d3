#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tavo {

/// Another time zone for this process, for as long as this lives.
class TimeZone {
public:
    explicit TimeZone(const std::string& name) {
        if (const char* before = std::getenv("TZ")) {
            previous = before;
        }
        setenv("TZ", name.c_str(), 1);
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    ~TimeZone() {
        if (previous) {
            setenv("TZ", previous->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

    /// An hour ahead of UTC, two in summer: from the last sunday of March to that of October. POSIX rules, so that no
    /// time zone database is needed.
    static constexpr const char* centralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

private:
    std::optional<std::string> previous;
};

} // namespace tavo
