#include "Require.h"
#include "app/WindowRequest.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Every text that parses as a request can be sent as one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto request = tavo::WindowRequest::decoded({reinterpret_cast<const char*>(data), size});
    if (request) {
        tavo::require(tavo::WindowRequest::decoded(request->encoded()) == request, "what was sent reads back");
    }
    return 0;
}
