#pragma once

#include "system/ProcessActivity.h"

#include <vector>

namespace tavo {

/// Counts the activities that are under way.
class ScriptedProcessActivity final : public ProcessActivityStarting {
public:
    [[nodiscard]] std::unique_ptr<ProcessActivity> begin(const std::string& reason) override {
        reasons.push_back(reason);
        return std::make_unique<Counted>(underWay);
    }

    int underWay = 0;
    std::vector<std::string> reasons;

private:
    struct Counted final : ProcessActivity {
        explicit Counted(int& counter) : count(counter) { ++count; }
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;
        ~Counted() override { --count; }
        int& count;
    };
};

} // namespace tavo
