#pragma once

#include <string>

namespace tavo {

/// NSXPCConnection takes a requirement only once a connection is there, and throws, uncaught, when it is malformed.
/// @throws DescribedError for one that is, "Code Signing Requirement Language".
void requireWellFormed(const std::string& codeSigningRequirement);

} // namespace tavo
