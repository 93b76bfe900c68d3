#include "Support/linux/JsonSchema.h"

#include "Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class JsonSchemaTest : public ::testing::Test {
protected:
    JsonSchemaTest() {
        folder.write("common.schema.json",
                     R"({"definitions": {"id": {"description": "An id.", "type": "integer", "unit": "id"}}})");
        folder.write("thing.schema.json", R"({
            "type": "object", "required": ["id"], "properties": {
                "id": {"$ref": "common.schema.json#/definitions/id"},
                "other": {"description": "Another.", "allOf": [{"$ref": "common.schema.json#/definitions/id"}]},
                "parts": {"description": "Parts.", "type": "array", "items": {"oneOf": [
                    {"required": ["kind"],
                     "properties": {"kind": {"description": "A kind.", "type": "string", "const": "a"}}},
                    {"title": "b", "required": ["size"],
                     "properties": {"size": {"description": "A size.", "type": ["number", "null"], "unit": "m"}}}]}}}})");
    }

    JsonSchema schema(const std::string& name = "thing") const { return {folder.path(), name}; }

    std::vector<std::string> strictProblems(const std::string& value) const {
        return schema().strictProblems(parseJson(value));
    }

    TemporaryDirectory folder;
};

TEST_F(JsonSchemaTest, AValueThatFollowsItHasNoProblems) {
    for (const auto* value : {R"({"id": 1})", R"({"id": 1, "other": 2, "parts": []})",
                              R"({"id": 1, "parts": [{"kind": "a"}, {"size": null}, {"size": 1.5}]})"}) {
        EXPECT_THAT(strictProblems(value), IsEmpty()) << value;
    }
}

TEST_F(JsonSchemaTest, AFieldThatItDoesNotNameIsForLaterVersionsAlone) {
    for (const auto* value : {R"({"id": 1, "new": 2})", R"({"id": 1, "parts": [{"size": 1, "new": 2}]})"}) {
        EXPECT_THAT(schema().problems(parseJson(value)), IsEmpty()) << value;
        EXPECT_THAT(strictProblems(value), Not(IsEmpty())) << value;
    }
}

TEST_F(JsonSchemaTest, AWrongTypeAndAMissingFieldAreProblems) {
    for (const auto* value : {"{}", "[]", R"({"id": "1"})", R"({"id": 1, "other": 1.5})", R"({"id": 1, "parts": {}})",
                              R"({"id": 1, "parts": [{"size": "1"}]})"}) {
        EXPECT_THAT(schema().problems(parseJson(value)), Not(IsEmpty())) << value;
        EXPECT_THAT(strictProblems(value), Not(IsEmpty())) << value;
    }
}

TEST_F(JsonSchemaTest, TheFieldsAreListedWithTheirTypes) {
    EXPECT_THAT(schema().fields(),
                ElementsAre("thing.id: integer, always there", "thing.other: integer, may be missing",
                            "thing.parts: array, may be missing", "thing.parts[](a).kind: string, always there",
                            "thing.parts[](b).size: number or null, always there"));
}

TEST_F(JsonSchemaTest, AFieldWithoutDescriptionOrUnitIsFound) {
    EXPECT_THAT(schema().undocumented(), IsEmpty());
    folder.write("bare.schema.json", R"({"properties": {"a": {"type": "integer"}, "b": {"description": "B."}}})");
    EXPECT_THAT(
        schema("bare").undocumented(),
        ElementsAre("bare.a has no description.", "bare.a has no type or no unit.", "bare.b has no type or no unit."));
}

TEST_F(JsonSchemaTest, AReferenceToNothingOrToItselfIsAnError) {
    EXPECT_THROW(schema("missing"), std::runtime_error);
    folder.write("far.schema.json", R"({"$ref": "missing.schema.json#/definitions/x"})");
    EXPECT_THROW(schema("far"), std::runtime_error);
    folder.write("self.schema.json", R"({"properties": {"a": {"$ref": "self.schema.json#/properties/a"}}})");
    EXPECT_THROW(schema("self"), std::runtime_error);
    EXPECT_THAT(JsonSchema::namesIn(folder.path()), ElementsAre("far", "self", "thing"));
}

TEST(ReleasedFields, OneThatIsGoneHasAnotherTypeOrMayBeMissingNowIsFound) {
    const std::vector<std::string> record{"# a remark", "", "a.b: integer, always there",
                                          "a.c: string, may be missing"};
    EXPECT_THAT(differencesFromRecord(record, {record[2], record[3]}), IsEmpty());
    EXPECT_THAT(differencesFromRecord(record, {record[3]}),
                ElementsAre("a released field is gone: a.b: integer, always there"));
    for (const auto* changed :
         {"a.b: string, always there", "a.b: integer or null, always there", "a.b: integer, may be missing"}) {
        const auto differences = differencesFromRecord(record, {changed, record[3]});
        ASSERT_THAT(differences, SizeIs(1));
        EXPECT_THAT(differences.front(), HasSubstr("a released field has changed: \"a.b: integer, always there\""));
    }
    EXPECT_THAT(differencesFromRecord(record, {record[2], record[3], "a.d: integer, always there"}),
                ElementsAre("a new field, to be added to the record: a.d: integer, always there"));
}

} // namespace
} // namespace tavo
