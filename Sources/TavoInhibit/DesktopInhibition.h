#pragma once

#include "TavoInhibit/DesktopInhibitor.h"
#include "TavoInhibit/SessionBusWatch.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace tavo {

/// Makes the desktop keep the computer awake, through those of its services that are there.
///
/// Every service that answers for what it holds is asked; the last resort only while none of those holds or is still to
/// answer, and it is released once one of them holds.
class DesktopInhibition final : public SessionBusClient {
public:
    explicit DesktopInhibition(sd_event& event, Report& report, const DesktopPatience& patience = {})
        : event(event), report(report), patience(patience) {}

    void busConnected(sd_bus& bus) override;
    void busEnded() override;

    /// From now on reports when no service accepts, also when there is none or no bus: logind's lock alone does not
    /// hold this desktop back.
    void reportWhenNobodyAccepts();

    /// Ends every request. Does not wait: a request that cannot be withdrawn at once ends with the connection.
    void release();

private:
    void settle();
    bool anyAnswerableIs(DesktopInhibitor::State state) const;
    bool anyIs(DesktopInhibitor::State state) const;
    void updateReportTimer();
    void startReportTimer(std::chrono::microseconds wait);
    void reportRefusal();
    static int onReportTimer(sd_event_source* source, std::uint64_t now, void* self) noexcept;

    sd_event& event;
    Report& report;
    DesktopPatience patience;
    bool isReportWanted = false;
    bool hasReported = false;
    /// Until the report, and its wait.
    EventSource reportTimer;
    std::chrono::microseconds reportWait{0};
    std::vector<std::unique_ptr<DesktopInhibitor>> inhibitors;
};

} // namespace tavo
