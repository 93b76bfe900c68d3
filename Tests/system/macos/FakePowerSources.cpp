#include "system/macos/FakePowerSources.h"

#include <cstring>

namespace tavo {

/// Sits behind every reference that the fake functions give away.
struct CoreFoundationObject {
    std::variant<std::string, std::vector<std::optional<FakePowerSources::Source>>,
                 std::optional<FakePowerSources::Source>, FakePowerSources::Value, std::nullptr_t>
        content;
    bool isOwnedByCaller = false;
};

namespace {

using Source = FakePowerSources::Source;
using Sources = std::vector<std::optional<Source>>;
using Functions = PowerSourceFunctions;

constexpr Functions::TypeID booleanType = 21;
constexpr Functions::TypeID numberType = 22;
constexpr Functions::TypeID otherType = 7;

/// Objects live to the end, so that a second release can be counted.
std::deque<CoreFoundationObject>& objects() {
    static std::deque<CoreFoundationObject> all;
    return all;
}

template <typename Content>
CoreFoundationRef lend(Content content) {
    objects().push_back({.content = std::move(content), .isOwnedByCaller = false});
    return &objects().back();
}

template <typename Content>
CoreFoundationRef give(Content content) {
    ++FakePowerSources::current().copied;
    objects().push_back({.content = std::move(content), .isOwnedByCaller = true});
    return &objects().back();
}

CoreFoundationRef copyPowerSourcesInfo() {
    return FakePowerSources::current().hasInfo ? give(nullptr) : nullptr;
}

CoreFoundationRef getProvidingPowerSourceType(CoreFoundationRef) {
    const auto& type = FakePowerSources::current().providingType;
    return type ? lend(*type) : nullptr;
}

CoreFoundationRef copyPowerSourcesList(CoreFoundationRef) {
    const auto& sources = FakePowerSources::current().sources;
    return sources ? give(*sources) : nullptr;
}

CoreFoundationRef getPowerSourceDescription(CoreFoundationRef, CoreFoundationRef source) {
    const auto& description = std::get<std::optional<Source>>(source->content);
    return description ? source : nullptr;
}

CoreFoundationRef createString(CoreFoundationRef allocator, const char* text, Functions::StringEncoding encoding) {
    const bool isAskedRight = allocator == nullptr && encoding == 0x08000100;
    return isAskedRight && !FakePowerSources::current().lacksStrings ? give(std::string(text)) : nullptr;
}

Functions::Boolean equal(CoreFoundationRef left, CoreFoundationRef right) {
    return std::get<std::string>(left->content) == std::get<std::string>(right->content) ? 1 : 0;
}

Functions::Index arrayGetCount(CoreFoundationRef array) {
    return static_cast<Functions::Index>(std::get<Sources>(array->content).size());
}

CoreFoundationRef arrayGetValueAtIndex(CoreFoundationRef array, Functions::Index index) {
    return lend(std::get<Sources>(array->content).at(static_cast<std::size_t>(index)));
}

CoreFoundationRef dictionaryGetValue(CoreFoundationRef dictionary, CoreFoundationRef key) {
    const auto& source = *std::get<std::optional<Source>>(dictionary->content);
    const auto found = source.find(std::get<std::string>(key->content));
    return found == source.end() ? nullptr : lend(found->second);
}

Functions::TypeID getTypeID(CoreFoundationRef object) {
    const auto& value = std::get<FakePowerSources::Value>(object->content);
    return std::holds_alternative<bool>(value)          ? booleanType
           : std::holds_alternative<std::string>(value) ? otherType
                                                        : numberType;
}

Functions::TypeID booleanGetTypeID() {
    return booleanType;
}

Functions::Boolean booleanGetValue(CoreFoundationRef boolean) {
    return std::get<bool>(std::get<FakePowerSources::Value>(boolean->content)) ? 1 : 0;
}

Functions::TypeID numberGetTypeID() {
    return numberType;
}

Functions::Boolean numberGetValue(CoreFoundationRef number, Functions::NumberType type, void* value) {
    constexpr Functions::NumberType signed32Bit = 3;
    const auto& held = std::get<FakePowerSources::Value>(number->content);
    // The real one leaves a truncated number behind when it fails.
    const std::int32_t written = std::holds_alternative<std::int32_t>(held) ? std::get<std::int32_t>(held) : -77;
    std::memcpy(value, &written, sizeof written);
    return type == signed32Bit && std::holds_alternative<std::int32_t>(held) ? 1 : 0;
}

void release(CoreFoundationRef object) {
    auto& sources = FakePowerSources::current();
    ++sources.released;
    for (auto& known : objects()) {
        if (&known == object) {
            sources.releasedTwice += known.isOwnedByCaller ? 0 : 1;
            known.isOwnedByCaller = false;
        }
    }
}

} // namespace

PowerSourceFunctions FakePowerSources::functions() {
    return {.copyPowerSourcesInfo = tavo::copyPowerSourcesInfo,
            .getProvidingPowerSourceType = tavo::getProvidingPowerSourceType,
            .copyPowerSourcesList = tavo::copyPowerSourcesList,
            .getPowerSourceDescription = tavo::getPowerSourceDescription,
            .createString = tavo::createString,
            .equal = tavo::equal,
            .arrayGetCount = tavo::arrayGetCount,
            .arrayGetValueAtIndex = tavo::arrayGetValueAtIndex,
            .dictionaryGetValue = tavo::dictionaryGetValue,
            .getTypeID = tavo::getTypeID,
            .booleanGetTypeID = tavo::booleanGetTypeID,
            .booleanGetValue = tavo::booleanGetValue,
            .numberGetTypeID = tavo::numberGetTypeID,
            .numberGetValue = tavo::numberGetValue,
            .release = tavo::release};
}

FakePowerSources& FakePowerSources::current() {
    static FakePowerSources sources;
    return sources;
}

} // namespace tavo
