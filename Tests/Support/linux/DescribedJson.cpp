#include "Support/DescribedJson.h"

#include "Support/linux/JsonSchema.h"
#include "base/JsonCoding.h"

#include <gtest/gtest.h>

namespace tavo {

Json describedJson(const std::string& schema, const std::string& text) {
    return describedJson(schema, parseJson(text));
}

Json describedJson(const std::string& schema, const Json& value) {
    for (const auto& problem : JsonSchema(TAVO_SCHEMAS, schema).strictProblems(value)) {
        ADD_FAILURE() << "docs/schema/" << schema << ".schema.json does not describe this: " << problem << "\n"
                      << prettyJson(value);
    }
    return value;
}

} // namespace tavo
