#pragma once

#include <systemd/sd-bus.h>

#include <string>

namespace tavo {

/// Whether logind's answer means that this user may not have the lock, rather than that something is broken.
bool isAccessDenied(const sd_bus_error& error);

/// What the user is told when logind holds `idle` and refused `sleep`.
std::string sleepRefusedNotice();

/// Why no lock is held although logind or the bus answered, and what to do: one lower-case sentence.
std::string refusalSentence(const sd_bus_error& error);

/// The same for a system bus that cannot be reached; `error` is an errno value.
std::string unreachableSystemBusSentence(int error);

/// The same for a system bus that ended the connection before logind's answer.
std::string lostSystemBusSentence();

/// The same for an answer that did not come in time.
std::string silentLogindSentence();

} // namespace tavo
