#include "Support/linux/JsonSchema.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace tavo {

namespace {

constexpr std::string_view ending = ".schema.json";

/// References that go on for longer than this lead to themselves.
constexpr int maxDepth = 100;

/// Puts what a reference leads to in its place. The validator could fetch other files itself, but knows them apart by
/// the pointers into them alone.
class References {
public:
    explicit References(std::filesystem::path folder) : folder(std::move(folder)) {}

    const Json& file(const std::string& fileName) {
        auto& content = files[fileName];
        if (content.is_null()) {
            std::ifstream stream(folder / fileName);
            std::ostringstream text;
            text << stream.rdbuf();
            if (!stream) {
                throw std::runtime_error(fmt::format("there is no {}.", (folder / fileName).string()));
            }
            content = parseJson(text.str());
        }
        return content;
    }

    Json resolve(const Json& node, int depth = 0) {
        if (depth > maxDepth) {
            throw std::runtime_error("a reference leads to itself.");
        }
        if (node.is_object() && node.contains("$ref")) {
            const auto reference = node["$ref"].get<std::string>();
            const auto hash = reference.find('#');
            return resolve(file(reference.substr(0, hash)).at(Json::json_pointer(reference.substr(hash + 1))),
                           depth + 1);
        }
        auto copy = node;
        for (auto& member : copy) {
            if (member.is_structured()) {
                member = resolve(member, depth + 1);
            }
        }
        return copy;
    }

private:
    std::filesystem::path folder;
    std::map<std::string, Json> files;
};

Json withoutOtherFields(Json node) {
    for (auto& member : node) {
        if (member.is_structured()) {
            member = withoutOtherFields(member);
        }
    }
    if (node.is_object() && node.contains("properties")) {
        node["additionalProperties"] = false;
    }
    return node;
}

std::vector<std::string> problemsOf(const Json& schema, const Json& value) {
    valijson::Schema rules;
    valijson::SchemaParser().populateSchema(valijson::adapters::NlohmannJsonAdapter(schema), rules);
    valijson::ValidationResults results;
    std::vector<std::string> problems;
    if (valijson::Validator().validate(rules, valijson::adapters::NlohmannJsonAdapter(value), &results)) {
        return problems;
    }
    valijson::ValidationResults::Error error;
    while (results.popError(error)) {
        problems.push_back(fmt::format("{}: {}", fmt::join(error.context, ""), error.description));
    }
    return problems;
}

/// One field, or an element of an array that has fields.
struct Field {
    std::string path;
    Json schema;
    bool isAlwaysThere = false;
};

std::string alternativeName(const Json& alternative) {
    for (const auto& property : alternative.value("properties", Json::object())) {
        if (property.contains("const")) {
            return property["const"];
        }
    }
    return alternative.value("title", "?");
}

/// A field that says of itself what is its own, and leaves the rest to a definition.
Json withDefinition(const Json& schema) {
    auto whole = schema;
    for (const auto& definition : schema.value("allOf", Json::array())) {
        for (const auto& [key, value] : definition.items()) {
            whole.emplace(key, value);
        }
    }
    return whole;
}

void visitFields(const Json& given, const std::string& path, const std::function<void(const Field&)>& visit) {
    const auto schema = withDefinition(given);
    const auto required = schema.value("required", Json::array());
    const auto properties = schema.value("properties", Json::object());
    for (const auto& [key, property] : properties.items()) {
        const bool isRequired = std::find(required.begin(), required.end(), key) != required.end();
        const auto fieldPath = path + "." + key;
        visit({.path = fieldPath, .schema = withDefinition(property), .isAlwaysThere = isRequired});
        visitFields(property, fieldPath, visit);
    }
    if (schema.contains("items")) {
        visitFields(schema["items"], path + "[]", visit);
    }
    for (const auto* const key : {"anyOf", "oneOf"}) {
        for (const auto& alternative : schema.value(key, Json::array())) {
            visitFields(alternative, fmt::format("{}({})", path, alternativeName(alternative)), visit);
        }
    }
}

std::string typeOf(const Json& schema) {
    const auto type = schema.value("type", Json("?"));
    if (type.is_string()) {
        return type == "array" && schema["items"].contains("type") ? "array of " + typeOf(schema["items"])
                                                                   : type.get<std::string>();
    }
    return fmt::format("{}", fmt::join(type.get<std::vector<std::string>>(), " or "));
}

/// The path of a line of fields(), which has no spaces but within parentheses.
std::string pathOfLine(const std::string& line) {
    return line.substr(0, line.find(": "));
}

} // namespace

JsonSchema::JsonSchema(const std::filesystem::path& folder, std::string given) : name(std::move(given)) {
    References references(folder);
    resolved = references.resolve(references.file(name + std::string(ending)));
    resolved.erase("definitions");
}

std::vector<std::string> JsonSchema::namesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const auto file = entry.path().filename().string();
        if (file.ends_with(ending) && file != "common.schema.json") {
            names.insert(file.substr(0, file.size() - ending.size()));
        }
    }
    return {names.begin(), names.end()};
}

std::vector<std::string> JsonSchema::problems(const Json& value) const {
    return problemsOf(resolved, value);
}

std::vector<std::string> JsonSchema::strictProblems(const Json& value) const {
    return problemsOf(withoutOtherFields(resolved), value);
}

std::vector<std::string> JsonSchema::fields() const {
    std::set<std::string> lines;
    visitFields(resolved, name, [&](const Field& field) {
        lines.insert(fmt::format("{}: {}, {}", field.path, typeOf(field.schema),
                                 field.isAlwaysThere ? "always there" : "may be missing"));
    });
    return {lines.begin(), lines.end()};
}

std::vector<std::string> JsonSchema::undocumented() const {
    std::vector<std::string> found;
    visitFields(resolved, name, [&](const Field& field) {
        const auto type = typeOf(field.schema);
        const bool isNumber = type.find("integer") != std::string::npos || type.find("number") != std::string::npos;
        if (field.schema.value("description", "").empty()) {
            found.push_back(field.path + " has no description.");
        }
        if (type == "?" || (isNumber && !field.schema.contains("unit"))) {
            found.push_back(field.path + " has no type or no unit.");
        }
    });
    return found;
}

std::vector<std::string> differencesFromRecord(const std::vector<std::string>& recorded,
                                               const std::vector<std::string>& now) {
    std::map<std::string, std::string> released;
    for (const auto& line : recorded) {
        if (!line.empty() && !line.starts_with('#')) {
            released[pathOfLine(line)] = line;
        }
    }
    std::vector<std::string> differences;
    for (const auto& line : now) {
        const auto found = released.find(pathOfLine(line));
        if (found == released.end()) {
            differences.push_back("a new field, to be added to the record: " + line);
            continue;
        }
        if (found->second != line) {
            differences.push_back(
                fmt::format("a released field has changed: \"{}\" is now \"{}\"", found->second, line));
        }
        released.erase(found);
    }
    for (const auto& [path, line] : released) {
        differences.push_back("a released field is gone: " + line);
    }
    return differences;
}

} // namespace tavo
