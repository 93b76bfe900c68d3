#pragma once

#include <vector>

namespace tavo {

/// The arguments of a program without the process serial number ("-psn_0_12345"), which macOS may pass first when an
/// application is started for the first time after a download.
/// @return pointers to the same texts, with a null pointer after the last.
std::vector<char*> withoutProcessSerialNumber(int count, char** values);

} // namespace tavo
