#pragma once

#include "TavoPrivilegedHelper/HelperLog.h"
#include "TavoPrivilegedHelper/OverrideKeeper.h"
#include "helper/PrivilegedHelperMessages.h"
#include "helper/TimeBudget.h"
#include "system/ProcessStart.h"

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// The other end of a connection by the system's own word; nothing in a message counts.
struct HelperCaller {
    uid_t user = 0;
    ProcessIdentity process;

    bool operator==(const HelperCaller&) const = default;
};

/// Serves complete requests from any transport.
class HelperService {
public:
    /// Of an encoded command, in bytes; a longer one is refused unread on any transport.
    static constexpr std::size_t maxBodySize = 65536;

    using Log = std::function<void(const std::string&)>;

    /// Why a user other than root is refused; nothing for one who is served.
    using Admission = std::function<std::optional<std::string>(uid_t user)>;

    /// @param reset   has the helper removed, or throws.
    /// @param log     gets a line for every override that begins or ends, every removal and refusal, at a bounded rate.
    /// @param budget  bounds the waits of a request, where there is one.
    HelperService(std::shared_ptr<OverrideKeeper> keeper, Admission admission, std::function<void()> reset,
                  const Log& log, std::shared_ptr<TimeBudget> budget = {});

    /// The refusal of a user whom the helper is not for.
    static std::string notServed(uid_t user);

    /// Why this user is not served; nothing for one that is. A refusal is logged. May be called
    /// from any thread when `admission` and `log` may.
    std::optional<std::string> refusal(uid_t user, pid_t process) const;

    /// Why a command of this many bytes is not read; nothing for one that is.
    static std::optional<std::string> refusalOfLength(std::size_t length);

    /// Carries out an encoded command in the caller's name.
    PrivilegedHelperReply serve(const HelperCaller& caller, std::string_view body) const;

    /// Ends the override that a served command began, when its caller was gone before the answer: a caller that has not
    /// heard of its override never ends it. Does nothing for other commands.
    void endUnheard(const HelperCaller& caller, std::string_view body) const noexcept;

private:
    void remove(const HelperCaller& caller) const;

    std::shared_ptr<OverrideKeeper> keeper;
    Admission admission;
    std::function<void()> reset;
    std::shared_ptr<TimeBudget> budget;

    /// Each bounded on its own: refused strangers must not hide the overrides that begin, nor those a removal.
    std::shared_ptr<BoundedLog> grants;
    std::shared_ptr<BoundedLog> removals;
    std::shared_ptr<BoundedLog> refusals;
};

} // namespace tavo
