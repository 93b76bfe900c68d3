#include "Support/DescribedJson.h"

#include "base/JsonCoding.h"

namespace tavo {

// The same code prints it on both systems, and the validator is installed for the tests on Linux.

Json describedJson(const std::string&, const std::string& text) {
    return parseJson(text);
}

Json describedJson(const std::string&, const Json& value) {
    return value;
}

} // namespace tavo
