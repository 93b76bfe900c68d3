// In the place of macOS's header, for scripts/check-cocoa.
#pragma once

#include <stdint.h>

extern "C" int _NSGetExecutablePath(char* buffer, uint32_t* length);
