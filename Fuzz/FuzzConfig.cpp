#include "Require.h"
#include "base/JsonCoding.h"
#include "config/AppConfig.h"
#include "config/TavoValidationError.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using tavo::require;

/// Every value that decodes has one text that decodes to the same value again, and validating it twice changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto config = tavo::AppConfig::fromJson(tavo::parseJson(text));
        require(tavo::AppConfig::fromJson(tavo::parseJson(tavo::prettyJson(config))) == config,
                "what was written reads back");
        const auto validated = config.validated();
        require(validated.validated() == validated, "a validated configuration is valid");
    } catch (const tavo::DecodingError& error) {
        require(!error.description().empty(), "an error says something");
    } catch (const tavo::TavoValidationError& error) {
        require(!error.description().empty(), "an error says something");
    }
    return 0;
}
