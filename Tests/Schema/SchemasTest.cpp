#include "Support/linux/JsonSchema.h"
#include "TavoControl/ControlCommandLine.h"
#include "TavoControl/Explanation.h"
#include "TavoControl/HistoryPeriods.h"
#include "TavoControl/SystemChecks.h"
#include "config/AppConfig.h"
#include "helper/PrivilegedHelperMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace tavo {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

const std::filesystem::path folder(TAVO_SCHEMAS);

/// A part of one of the files as it is, references and all.
Json part(const std::string& name, const std::string& pointer) {
    std::ifstream file(folder / (name + ".schema.json"));
    return Json::parse(file).at(Json::json_pointer(pointer));
}

/// The values of an enumeration, in the order of its table.
template <typename Enumeration>
std::vector<std::string> valuesOf() {
    std::vector<std::string> values;
    for (const auto each : allCases<Enumeration>()) {
        values.emplace_back(rawValue(each));
    }
    return values;
}

template <typename Enumeration>
void expectValues(const std::string& name, const std::string& pointer) {
    auto values = part(name, pointer + "/enum");
    std::erase(values.get_ref<Json::array_t&>(), Json(nullptr));
    EXPECT_THAT(values.get<std::vector<std::string>>(), ElementsAreArray(valuesOf<Enumeration>()))
        << name << " " << pointer;
}

/// The values by which alternatives are told apart.
std::vector<std::string> constantsOf(const std::string& name, const std::string& pointer, const std::string& field) {
    std::vector<std::string> constants;
    for (const auto& alternative : part(name, pointer)) {
        constants.push_back(alternative.at("properties").at(field).at("const"));
    }
    return constants;
}

TEST(Schemas, EachFieldHasADescriptionAndEachNumberAUnit) {
    for (const auto& name : JsonSchema::namesIn(folder)) {
        EXPECT_THAT(JsonSchema(folder, name).undocumented(), IsEmpty());
    }
}

TEST(Schemas, EachCommandThatPrintsJsonHasOne) {
    const std::vector<std::pair<std::string, std::vector<const char*>>> commands{
        {"run", {"run"}},
        {"status", {"status"}},
        {"processes", {"processes"}},
        {"history", {"history"}},
        {"explain", {"explain"}},
        {"watch", {"watch"}},
        {"doctor", {"doctor"}},
        {"get", {"get"}},
        {"get-key", {"get", "watchMode"}},
        {"helper-status", {"helper", "status"}}};
    for (const auto& [name, words] : commands) {
        std::vector<const char*> arguments{"tavoctl"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        arguments.push_back("--json");
        const auto parsed = parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
        EXPECT_TRUE(std::holds_alternative<Invocation>(parsed)) << name;
        EXPECT_NO_THROW(JsonSchema(folder, name)) << name;
    }
}

// A reader of Tavo's JSON must go on working with every version up to the next major one.
TEST(Schemas, NoReleasedFieldIsGoneOrHasChanged) {
    std::vector<std::string> now;
    for (const auto& name : JsonSchema::namesIn(folder)) {
        const auto fields = JsonSchema(folder, name).fields();
        now.insert(now.end(), fields.begin(), fields.end());
    }
    std::vector<std::string> recorded;
    std::ifstream record(folder / "fields.txt");
    for (std::string line; std::getline(record, line);) {
        recorded.push_back(line);
    }
    EXPECT_THAT(differencesFromRecord(recorded, now), IsEmpty());
}

TEST(Schemas, EveryValueThatAFieldMayHaveIsListed) {
    expectValues<RuntimeDecisionReason>("common", "/definitions/decisionReason");
    expectValues<CurrentPowerSource>("common", "/definitions/powerSource");
    expectValues<WorkVerdict>("common", "/definitions/workVerdict");
    expectValues<PrivilegedHelperInstallState>("common", "/definitions/helperState");
    expectValues<PrivilegedHelperInstallState>("explain",
                                               "/properties/steps/items/oneOf/4/properties/values/properties/helper");
    expectValues<WatchMode>("config", "/properties/watchMode");
    expectValues<PowerSourcePolicy>("config", "/properties/powerSourcePolicy");
    expectValues<MaxAwakeDuration>("config", "/properties/maxAwakeDuration");
    expectValues<TriggerMode>("config", "/properties/trigger/properties/mode");
    expectValues<TriggerPreset>("config", "/properties/trigger/properties/preset");
    expectValues<TriggerMatchStrategy>("config", "/properties/trigger/properties/matchStrategy");
    expectValues<TriggerMode>("get", "/definitions/trigger/properties/mode");
    expectValues<TriggerPreset>("get", "/definitions/trigger/properties/preset");
    expectValues<HistoryEnding>("history", "/properties/periods/items/properties/ending");
    expectValues<CheckVerdict>("doctor", "/items/properties/verdict");
    expectValues<StepVerdict>("explain", "/definitions/verdict");
    expectValues<PMSetScope>("helper-status", "/properties/overrides/items/properties/scopes/items");
    EXPECT_EQ(constantsOf("explain", "/properties/steps/items/oneOf", "step"), valuesOf<DecisionStep>());
    EXPECT_EQ(constantsOf("history-file", "/oneOf", "event"), valuesOf<HistoryEvent>());
}

} // namespace
} // namespace tavo
