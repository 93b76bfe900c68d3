#pragma once

#include "base/JsonCoding.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tavo {

/// One of the published schemas, with its references resolved.
class JsonSchema {
public:
    /// @param folder  the one that has all schemas.
    /// @param name    as in "status", for status.schema.json.
    /// @throws std::runtime_error for a file or a reference that is not there.
    JsonSchema(const std::filesystem::path& folder, std::string name);

    /// The names of all schemas that describe an output or a file.
    static std::vector<std::string> namesIn(const std::filesystem::path& folder);

    /// In what a value does not follow the schema, as sentences.
    std::vector<std::string> problems(const Json& value) const;

    /// The same, and every field that the schema does not name is a problem, too. Readers must put up with such fields,
    /// since later versions may have more; this version has none.
    std::vector<std::string> strictProblems(const Json& value) const;

    /// One line for each field, sorted: its path, its type, and whether it is always there. Elements of arrays are
    /// "[]", and alternatives are told apart by their title, or by the value of the field that has only one.
    std::vector<std::string> fields() const;

    /// The fields without a description, and the numbers without a unit.
    std::vector<std::string> undocumented() const;

private:
    std::string name;
    Json resolved;
};

/// Compares the fields of now with the record of those that were released.
/// @param recorded  lines of JsonSchema::fields(); those that begin with '#' do not count.
/// @return what breaks a promise or is missing in the record, as sentences.
std::vector<std::string> differencesFromRecord(const std::vector<std::string>& recorded,
                                               const std::vector<std::string>& now);

} // namespace tavo
