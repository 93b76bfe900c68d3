// Feeds arbitrary bytes to the code that reads the helper's messages: nothing but a DecodingError may come out, and
// what was understood must survive being written and read again.

#include "base/JsonCoding.h"
#include "helper/PrivilegedHelperCommandDispatcher.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace {

/// Stands where root's sleep setting would be.
class NoSleepController final : public tavo::PrivilegedSleepControlling {
public:
    bool isAvailable() const override { return true; }
    void setSleepDisabled(tavo::PMSetScope, bool) override {}
};

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

template <typename Message>
std::optional<Message> checkedMessage(std::string_view text) {
    try {
        auto message = Message::decode(text);
        require(Message::decode(message.encoded()) == message);
        return message;
    } catch (const tavo::DecodingError&) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto command = checkedMessage<tavo::PrivilegedHelperCommand>(text);
    checkedMessage<tavo::PrivilegedHelperResponse>(text);

    static const tavo::PrivilegedHelperCommandDispatcher dispatcher(std::make_shared<NoSleepController>(), [] {});
    const auto reply = dispatcher.reply(text);
    require(reply.data.has_value() == command.has_value() && reply.message.has_value() != command.has_value());
    return 0;
}
