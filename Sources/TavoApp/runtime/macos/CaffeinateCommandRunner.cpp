#include "runtime/macos/CaffeinateCommandRunner.h"

#include "runtime/WakePlan.h"

#include <utility>

namespace tavo {

namespace {

/// A child whose report is gone as soon as it is asked to end, however long it takes.
class ReportedCommand final : public RunningCommand {
public:
    ReportedCommand(std::shared_ptr<RunningCommand> child, std::shared_ptr<AssertionStatus> assertionStatus,
                    AssertionStatus::Token token)
        : child(std::move(child)), assertionStatus(std::move(assertionStatus)), token(token) {}

    bool isRunning() const override { return child->isRunning(); }
    void stop() noexcept override {
        child->stop();
        assertionStatus->close(token);
    }
    void onEnd(std::function<void()> work) override { child->onEnd(std::move(work)); }
    std::optional<pid_t> processID() const override { return child->processID(); }

private:
    std::shared_ptr<RunningCommand> child;
    std::shared_ptr<AssertionStatus> assertionStatus;
    AssertionStatus::Token token;
};

} // namespace

CaffeinateCommandRunner::CaffeinateCommandRunner(std::shared_ptr<CommandRunning> runner,
                                                 std::shared_ptr<AssertionStatus> assertionStatus)
    : runner(std::move(runner)), assertionStatus(std::move(assertionStatus)) {}

std::shared_ptr<RunningCommand> CaffeinateCommandRunner::start(const ShellCommand& command) {
    auto child = runner->start(command);
    const auto token = assertionStatus->open();
    assertionStatus->record(token, {.service = AssertionService::caffeinate,
                                    .state = AssertionReportState::held,
                                    .what = heldOffBy(command.arguments),
                                    .notice = {}});
    child->onEnd([assertionStatus = assertionStatus, token] { assertionStatus->close(token); });
    return std::make_shared<ReportedCommand>(std::move(child), assertionStatus, token);
}

} // namespace tavo
