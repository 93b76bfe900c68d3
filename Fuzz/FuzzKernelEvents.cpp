#include "Require.h"
#include "system/linux/KernelEvents.h"

#include <cstddef>
#include <cstdint>
#include <string>

using tavo::require;

/// A message counts exactly when one of its null-terminated words is the subsystem's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace std::string_literals;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const bool isExpected = ("\0"s + text + "\0"s).find("\0SUBSYSTEM=power_supply\0"s) != std::string::npos;
    require(tavo::isPowerSupplyEvent(text) == isExpected, "a whole word, and nothing else");
    return 0;
}
