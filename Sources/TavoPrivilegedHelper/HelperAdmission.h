#pragma once

#include "TavoPrivilegedHelper/HelperService.h"
#include "helper/ProcessWatching.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

class HelperAdmission;

/// One connection that was let in, and its one command.
///
/// For a system that reads connections in threads of its own: everything may be called from any thread unless it says
/// otherwise.
class HelperVisit {
public:
    /// The time for which a connection may stay open before its command arrives, and again after the answer.
    static constexpr std::chrono::milliseconds deadline{1000};

    ~HelperVisit();
    HelperVisit(const HelperVisit&) = delete;
    HelperVisit& operator=(const HelperVisit&) = delete;

    /// A command of this many bytes has arrived. Gives the answer at once when it is refused unread; otherwise serve()
    /// has to follow.
    std::optional<PrivilegedHelperReply> receive(std::size_t length);

    /// Carries out the command that has arrived, on the thread that carries out all commands. Does nothing for a caller
    /// that has hung up; an override whose caller has not waited for it ends.
    PrivilegedHelperReply serve(std::string_view body);

    /// The connection has ended, whoever has ended it. Its place is free for another one.
    void end() noexcept;

    /// Whether the connection is to be ended now that its time is up; no command is served after that. One that is
    /// being carried out gets its answer first.
    bool retire();

private:
    friend class HelperAdmission;

    enum class State { open, serving, over };

    HelperVisit(std::shared_ptr<HelperAdmission> admission, bool isServed)
        : admission(std::move(admission)), isServed(isServed) {}

    bool hasHungUp() const;

    std::shared_ptr<HelperAdmission> admission;
    const bool isServed;

    /// The caller to serve; absent where there is a refusal.
    std::optional<HelperCaller> caller;
    std::string refusal;

    mutable std::mutex mutex;
    State state = State::open;
    bool hasEnded = false;
};

/// Decides which connections are let in, by the system's word on who is at the other end and before anything is read
/// from them.
///
/// A user who is not served is told so, without a place among those who are, and without anybody waiting for it; when
/// too many are being told, the next are dropped. May be called from any thread.
class HelperAdmission final : public std::enable_shared_from_this<HelperAdmission> {
public:
    struct Limits {
        std::size_t served = 64;
        std::size_t refused = 8;
    };

    /// @param service    its serve() runs on the thread of the visits' serve(), its refusal() on any that takes a
    /// connection.
    /// @param processes  identifies callers, from any thread.
    static std::shared_ptr<HelperAdmission> make(std::shared_ptr<const HelperService> service,
                                                 std::shared_ptr<const ProcessWatching> processes, Limits limits);
    static std::shared_ptr<HelperAdmission> make(std::shared_ptr<const HelperService> service,
                                                 std::shared_ptr<const ProcessWatching> processes);

    /// @param user, process  at the other end of a new connection. Null when it is to be dropped without an answer.
    std::shared_ptr<HelperVisit> admit(uid_t user, pid_t process);

private:
    friend class HelperVisit;

    HelperAdmission(std::shared_ptr<const HelperService> service, std::shared_ptr<const ProcessWatching> processes,
                    Limits limits)
        : service(std::move(service)), processes(std::move(processes)), limits(limits) {}

    bool takePlace(bool isServed);
    void releasePlace(bool isServed) noexcept;

    std::shared_ptr<const HelperService> service;
    std::shared_ptr<const ProcessWatching> processes;
    Limits limits;

    std::mutex mutex;
    std::size_t served = 0;
    std::size_t refused = 0;
};

} // namespace tavo
