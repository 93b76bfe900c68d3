#pragma once

#include "system/ProcessActivity.h"

namespace tavo {

/// Activities of NSProcessInfo's, which allow the system to sleep when it is idle.
class AppNapPrevention final : public ProcessActivityStarting {
public:
    [[nodiscard]] std::unique_ptr<ProcessActivity> begin(const std::string& reason) override;
};

} // namespace tavo
