#include "runtime/CaffeinateCommandRunner.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {

namespace {

struct HoldingFlag {
    std::string_view flag;
    std::string_view what;
};

/// caffeinate(8), in the words that are used for a lock on Linux.
constexpr std::array<HoldingFlag, 2> holdingFlags{{{"-i", "idle"}, {"-s", "sleep"}}};

std::string heldBy(const ShellCommand& command) {
    std::string held;
    for (const auto& argument : command.arguments) {
        for (const auto& [flag, what] : holdingFlags) {
            if (argument == flag) {
                held += (held.empty() ? "" : ":") + std::string(what);
            }
        }
    }
    return held;
}

/// A child that leaves the board when it is told to end, however long it takes.
class PostedCommand final : public RunningCommand {
public:
    PostedCommand(std::shared_ptr<RunningCommand> child, std::shared_ptr<AssertionBoard> board,
                  AssertionBoard::Token token)
        : child(std::move(child)), board(std::move(board)), token(token) {}

    bool isRunning() const override { return child->isRunning(); }
    void stop() noexcept override {
        child->stop();
        board->close(token);
    }
    void onEnd(std::function<void()> work) override { child->onEnd(std::move(work)); }
    std::optional<pid_t> processID() const override { return child->processID(); }

private:
    std::shared_ptr<RunningCommand> child;
    std::shared_ptr<AssertionBoard> board;
    AssertionBoard::Token token;
};

} // namespace

CaffeinateCommandRunner::CaffeinateCommandRunner(std::shared_ptr<CommandRunning> runner,
                                                 std::shared_ptr<AssertionBoard> board)
    : runner(std::move(runner)), board(std::move(board)) {}

std::shared_ptr<RunningCommand> CaffeinateCommandRunner::start(const ShellCommand& command) {
    auto child = runner->start(command);
    const auto token = board->open();
    board->record(
        token, {.service = "caffeinate", .state = AssertionReportState::held, .what = heldBy(command), .notice = {}});
    child->onEnd([board = board, token] { board->close(token); });
    return std::make_shared<PostedCommand>(std::move(child), board, token);
}

} // namespace tavo
