#include "Support/ScriptedBusService.h"

namespace tavo {
namespace {

std::string nextArguments(sd_bus_message* message);

std::string nextContainer(sd_bus_message* message, char type, const char* contents) {
    checked(sd_bus_message_enter_container(message, type, contents), "enter a container");
    auto inside = nextArguments(message);
    checked(sd_bus_message_exit_container(message), "leave a container");
    if (type == SD_BUS_TYPE_ARRAY) {
        return "{" + inside + "}";
    }
    if (type == SD_BUS_TYPE_DICT_ENTRY) {
        return inside.replace(inside.find(", "), 2, ": ");
    }
    return inside;
}

std::string nextArgument(sd_bus_message* message, char type, const char* contents) {
    switch (type) {
    case SD_BUS_TYPE_STRING:
    case SD_BUS_TYPE_OBJECT_PATH: {
        const char* text = nullptr;
        checked(sd_bus_message_read_basic(message, type, &text), "read a text");
        return "\"" + std::string(text) + "\"";
    }
    case SD_BUS_TYPE_UINT32: {
        std::uint32_t number = 0;
        checked(sd_bus_message_read_basic(message, type, &number), "read a number");
        return std::to_string(number);
    }
    case SD_BUS_TYPE_ARRAY:
    case SD_BUS_TYPE_VARIANT:
    case SD_BUS_TYPE_DICT_ENTRY:
        return nextContainer(message, type, contents);
    default:
        checked(sd_bus_message_skip(message, nullptr), "skip an argument");
        return std::string("<") + type + ">";
    }
}

std::string nextArguments(sd_bus_message* message) {
    std::string result;
    auto type = '\0';
    const char* contents = nullptr;
    while (checked(sd_bus_message_peek_type(message, &type, &contents), "look at an argument") > 0) {
        result += result.empty() ? "" : ", ";
        result += nextArgument(message, type, contents);
    }
    return result;
}

} // namespace

ScriptedBusService::ScriptedBusService(BusPump& pump, const std::string& address) {
    checked(sd_bus_new(Receive(bus)), "make a connection");
    checked(sd_bus_set_address(bus.get(), address.c_str()), "set the bus's address");
    checked(sd_bus_set_bus_client(bus.get(), 1), "be a client");
    checked(sd_bus_negotiate_fds(bus.get(), 1), "pass descriptors");
    checked(sd_bus_start(bus.get()), "connect");
    checked(sd_bus_attach_event(bus.get(), &pump.event(), SD_EVENT_PRIORITY_NORMAL), "attach to the loop");
    checked(sd_bus_add_fallback(bus.get(), Receive(handler), "/", onCall, this), "serve calls");
}

void ScriptedBusService::own(const std::string& name, bool letOthersTakeIt) {
    std::uint64_t flags = SD_BUS_NAME_REPLACE_EXISTING;
    if (letOthersTakeIt) {
        flags |= SD_BUS_NAME_ALLOW_REPLACEMENT;
    }
    checked(sd_bus_request_name(bus.get(), name.c_str(), flags), "own a name");
}

void ScriptedBusService::disown(const std::string& name) {
    checked(sd_bus_release_name(bus.get(), name.c_str()), "give a name up");
}

int ScriptedBusService::onCall(sd_bus_message* call, void* self, sd_bus_error*) noexcept {
    auto& service = *static_cast<ScriptedBusService*>(self);
    const std::string member = sd_bus_message_get_member(call);
    const auto* interface = sd_bus_message_get_interface(call);
    service.recorded.push_back({sd_bus_message_get_path(call), interface == nullptr ? "" : interface, member,
                                nextArguments(call), sd_bus_message_get_auto_start(call) > 0});
    const auto found = service.answers.find(member);
    return found == service.answers.end() ? 0 : found->second(call);
}

ScriptedBusService::Answer ScriptedBusService::withCookie(std::uint32_t cookie) {
    return [cookie](sd_bus_message* call) { return sd_bus_reply_method_return(call, "u", cookie); };
}

ScriptedBusService::Answer ScriptedBusService::withPath(const std::string& path) {
    return [path](sd_bus_message* call) { return sd_bus_reply_method_return(call, "o", path.c_str()); };
}

ScriptedBusService::Answer ScriptedBusService::withNothing() {
    return [](sd_bus_message* call) { return sd_bus_reply_method_return(call, nullptr); };
}

ScriptedBusService::Answer ScriptedBusService::withError(const std::string& name, const std::string& message) {
    return [name, message](sd_bus_message* call) {
        return sd_bus_reply_method_errorf(call, name.c_str(), "%s", message.c_str());
    };
}

ScriptedBusService::Answer ScriptedBusService::never() {
    return [](sd_bus_message*) { return 1; };
}

} // namespace tavo
