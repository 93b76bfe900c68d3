#pragma once

#include "system/CommandRunning.h"
#include "system/HeldAssertionsProviding.h"

#include <memory>

namespace tavo {

/// Lists power assertions through "/usr/bin/pmset -g assertions", pmset(1).
///
/// Under "Listed by owning process:" it prints a line for each, "pid 4242(caffeinate): [0x...] 00:01:02 TYPE named:
/// ..."; continuation lines start otherwise. Types that let the machine sleep are left out.
class PMSetAssertionList final : public HeldAssertionsProviding {
public:
    explicit PMSetAssertionList(std::shared_ptr<CommandRunning> runner) : runner(std::move(runner)) {}

    bool usesPlanWords() const override { return false; }
    std::vector<HeldAssertion> heldAssertions() override;

    static std::vector<HeldAssertion> parse(const std::string& output);

private:
    std::shared_ptr<CommandRunning> runner;
};

} // namespace tavo
