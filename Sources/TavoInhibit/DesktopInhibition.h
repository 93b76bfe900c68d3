#pragma once

#include "TavoInhibit/DesktopInhibitor.h"
#include "TavoInhibit/SessionBusWatch.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace tavo {

/// Has the desktop keep the computer awake, through whichever of its services are there.
///
/// Every service that answers for what it holds is asked; the last resort only while none of those holds or is still to
/// answer, and it is let go once one of them holds.
class DesktopInhibition final : public SessionBusClient {
public:
    explicit DesktopInhibition(sd_event& event, Report& report, const DesktopPatience& patience = {})
        : event(event), report(report), patience(patience) {}

    void busConnected(sd_bus& bus) override;
    void busEnded() override;

    /// From now on tells when no service accepts, also when there is none or no bus: logind's lock alone does not hold this
    /// desktop back.
    void tellWhenNobodyAccepts();

    /// Ends every request. Does not wait for anybody: what cannot be said at once, the end of the connection says.
    void letGo();

private:
    void settle();
    bool anyAnswerableIs(DesktopInhibitor::State state) const;
    bool anyIs(DesktopInhibitor::State state) const;
    void considerTelling();
    void tellLater(std::chrono::microseconds wait);
    void tell();
    static int onReportTimer(sd_event_source* source, std::uint64_t now, void* self) noexcept;

    sd_event& event;
    Report& report;
    DesktopPatience patience;
    bool mustTell = false;
    bool hasTold = false;
    /// When it is to be told, and after how long a wait.
    EventSource reportTimer;
    std::chrono::microseconds reportDelay{0};
    std::vector<std::unique_ptr<DesktopInhibitor>> inhibitors;
};

} // namespace tavo
