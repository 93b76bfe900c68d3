#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace tavo {

/// The entries of a D-Bus address that name a Unix socket, as "unix:path=/run/user/1000/bus". Every other transport is
/// left out: one of them, "unixexec:", makes the connecting process run a program.
std::string unixBusAddresses(std::string_view address);

/// Reduces the environment to those: any bus that this process and its children connect to, with any library, is a
/// socket. For root there is no session bus at all, since a session belongs to a user who may have filled the
/// environment with anything, and sudo and su may keep it. To be called before there is a second thread.
void restrictBusAddresses(uid_t user = geteuid());

} // namespace tavo
