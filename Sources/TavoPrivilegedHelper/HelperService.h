#pragma once

#include "TavoPrivilegedHelper/OverrideKeeper.h"
#include "helper/PrivilegedHelperReply.h"
#include "helper/ProcessIdentity.h"

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavo {

/// Who is at the other end of a connection, in the system's own words; nothing that a message says counts.
struct HelperCaller {
    uid_t user = 0;
    ProcessIdentity process;

    bool operator==(const HelperCaller&) const = default;
};

/// Serves complete requests, whatever they came over.
class HelperService {
public:
    /// Of an encoded command, in bytes; a longer one is refused unread, whatever it came over.
    static constexpr std::size_t longestBody = 65536;

    /// @param isServed  whether a user other than root may ask for something.
    /// @param reset     has the helper removed, or throws.
    HelperService(std::shared_ptr<OverrideKeeper> keeper, std::function<bool(uid_t user)> isServed,
                  std::function<void()> reset)
        : keeper(std::move(keeper)), isServed(std::move(isServed)), reset(std::move(reset)) {}

    /// Why this user is not served; nothing for one that is.
    std::optional<std::string> refusal(uid_t user) const;

    /// Carries out an encoded command in the caller's name.
    PrivilegedHelperReply serve(const HelperCaller& caller, std::string_view body) const;

    /// Gives back the override that a served command has asked for, when nobody was there any more to hear that it is in
    /// force: its caller believes that it is not, and would never give it back itself. Does nothing for other commands.
    void takeBack(const HelperCaller& caller, std::string_view body) const noexcept;

private:
    std::shared_ptr<OverrideKeeper> keeper;
    std::function<bool(uid_t user)> isServed;
    std::function<void()> reset;
};

} // namespace tavo
