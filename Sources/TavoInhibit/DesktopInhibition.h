#pragma once

#include "TavoInhibit/DesktopInhibitor.h"
#include "TavoInhibit/SessionBusWatch.h"

#include <memory>
#include <vector>

namespace tavo {

/// Has the desktop keep the computer awake, through whichever of its services are there.
///
/// Every service that answers for what it holds is asked; the last resort only while none of those holds or is still to
/// answer, and it is let go once one of them holds.
class DesktopInhibition final : public SessionBusClient {
public:
    explicit DesktopInhibition(Report& report) : report(report) {}

    void busConnected(sd_bus& bus) override;
    void busEnded() override;

    /// Ends every request. Does not wait for anybody: what cannot be said at once, the end of the connection says.
    void letGo();

private:
    void settle();
    bool anyAnswerableIs(DesktopInhibitor::State state) const;

    Report& report;
    std::vector<std::unique_ptr<DesktopInhibitor>> inhibitors;
};

} // namespace tavo
