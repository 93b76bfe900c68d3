// libsystemd's functions under their own names, for tavoctl alone: the library is loaded when the first of them is called. A
// run that lasts for days needs none of them, and the library brings six others along, which together take longer to load
// than all else at the start. Where there is no such library, every function answers -ENOSYS.
//
// The signatures are those of the library's headers, which the compiler compares.

#include <dlfcn.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-login.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>

namespace {

void* symbolOf(const char* name) {
    // Never closed: handles that the library has given out point into it.
    static void* const library = dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    return library == nullptr ? nullptr : dlsym(library, name);
}

/// For functions that return an error number.
template <typename Function, typename... Arguments>
int callOrFail(Function* function, Arguments... arguments) {
    return function == nullptr ? -ENOSYS : function(arguments...);
}

/// For functions that release a handle, of which there is none without the library.
template <typename Handle>
Handle* release(Handle* (*function)(Handle*), Handle* handle) {
    return function == nullptr ? nullptr : function(handle);
}

} // namespace

// Looked up once, when it is first called.
#define TAVO_LIBRARY_FUNCTION(name) static auto* const function = reinterpret_cast<decltype(&(name))>(symbolOf(#name))

extern "C" {

int sd_bus_open_system(sd_bus** bus) {
    TAVO_LIBRARY_FUNCTION(sd_bus_open_system);
    return callOrFail(function, bus);
}

int sd_bus_open_system_with_description(sd_bus** bus, const char* description) {
    TAVO_LIBRARY_FUNCTION(sd_bus_open_system_with_description);
    return callOrFail(function, bus, description);
}

int sd_bus_open_user(sd_bus** bus) {
    TAVO_LIBRARY_FUNCTION(sd_bus_open_user);
    return callOrFail(function, bus);
}

int sd_bus_attach_event(sd_bus* bus, sd_event* event, int priority) {
    TAVO_LIBRARY_FUNCTION(sd_bus_attach_event);
    return callOrFail(function, bus, event, priority);
}

int sd_bus_is_open(sd_bus* bus) {
    TAVO_LIBRARY_FUNCTION(sd_bus_is_open);
    return callOrFail(function, bus);
}

int sd_bus_set_close_on_exit(sd_bus* bus, int isOn) {
    TAVO_LIBRARY_FUNCTION(sd_bus_set_close_on_exit);
    return callOrFail(function, bus, isOn);
}

int sd_bus_set_method_call_timeout(sd_bus* bus, std::uint64_t microseconds) {
    TAVO_LIBRARY_FUNCTION(sd_bus_set_method_call_timeout);
    return callOrFail(function, bus, microseconds);
}

int sd_bus_call(sd_bus* bus, sd_bus_message* call, std::uint64_t microseconds, sd_bus_error* error,
                sd_bus_message** reply) {
    TAVO_LIBRARY_FUNCTION(sd_bus_call);
    return callOrFail(function, bus, call, microseconds, error, reply);
}

int sd_bus_call_async(sd_bus* bus, sd_bus_slot** slot, sd_bus_message* call, sd_bus_message_handler_t callback,
                      void* self, std::uint64_t microseconds) {
    TAVO_LIBRARY_FUNCTION(sd_bus_call_async);
    return callOrFail(function, bus, slot, call, callback, self, microseconds);
}

int sd_bus_get_name_creds(sd_bus* bus, const char* name, std::uint64_t mask, sd_bus_creds** credentials) {
    TAVO_LIBRARY_FUNCTION(sd_bus_get_name_creds);
    return callOrFail(function, bus, name, mask, credentials);
}

int sd_bus_creds_get_pid(sd_bus_creds* credentials, pid_t* process) {
    TAVO_LIBRARY_FUNCTION(sd_bus_creds_get_pid);
    return callOrFail(function, credentials, process);
}

int sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** call, const char* destination, const char* path,
                                   const char* interface, const char* member) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_new_method_call);
    return callOrFail(function, bus, call, destination, path, interface, member);
}

int sd_bus_message_append(sd_bus_message* message, const char* types, ...) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_appendv);
    std::va_list arguments;
    va_start(arguments, types);
    const int result = function == nullptr ? -ENOSYS : function(message, types, arguments);
    va_end(arguments);
    return result;
}

int sd_bus_message_read(sd_bus_message* message, const char* types, ...) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_readv);
    std::va_list arguments;
    va_start(arguments, types);
    const int result = function == nullptr ? -ENOSYS : function(message, types, arguments);
    va_end(arguments);
    return result;
}

int sd_bus_message_enter_container(sd_bus_message* message, char type, const char* contents) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_enter_container);
    return callOrFail(function, message, type, contents);
}

int sd_bus_message_is_method_error(sd_bus_message* message, const char* name) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_is_method_error);
    return callOrFail(function, message, name);
}

int sd_bus_message_set_auto_start(sd_bus_message* message, int isOn) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_set_auto_start);
    return callOrFail(function, message, isOn);
}

void sd_bus_error_free(sd_bus_error* error) {
    TAVO_LIBRARY_FUNCTION(sd_bus_error_free);
    if (function != nullptr) {
        function(error);
    }
}

sd_bus* sd_bus_close_unref(sd_bus* bus) {
    TAVO_LIBRARY_FUNCTION(sd_bus_close_unref);
    return release(function, bus);
}

sd_bus* sd_bus_flush_close_unref(sd_bus* bus) {
    TAVO_LIBRARY_FUNCTION(sd_bus_flush_close_unref);
    return release(function, bus);
}

sd_bus_creds* sd_bus_creds_unref(sd_bus_creds* credentials) {
    TAVO_LIBRARY_FUNCTION(sd_bus_creds_unref);
    return release(function, credentials);
}

sd_bus_message* sd_bus_message_unref(sd_bus_message* message) {
    TAVO_LIBRARY_FUNCTION(sd_bus_message_unref);
    return release(function, message);
}

sd_bus_slot* sd_bus_slot_unref(sd_bus_slot* slot) {
    TAVO_LIBRARY_FUNCTION(sd_bus_slot_unref);
    return release(function, slot);
}

int sd_pid_get_session(pid_t process, char** session) {
    TAVO_LIBRARY_FUNCTION(sd_pid_get_session);
    return callOrFail(function, process, session);
}

int sd_pid_get_unit(pid_t process, char** unit) {
    TAVO_LIBRARY_FUNCTION(sd_pid_get_unit);
    return callOrFail(function, process, unit);
}

int sd_session_get_type(const char* session, char** type) {
    TAVO_LIBRARY_FUNCTION(sd_session_get_type);
    return callOrFail(function, session, type);
}

int sd_session_is_active(const char* session) {
    TAVO_LIBRARY_FUNCTION(sd_session_is_active);
    return callOrFail(function, session);
}

int sd_session_is_remote(const char* session) {
    TAVO_LIBRARY_FUNCTION(sd_session_is_remote);
    return callOrFail(function, session);
}

int sd_uid_get_display(uid_t user, char** session) {
    TAVO_LIBRARY_FUNCTION(sd_uid_get_display);
    return callOrFail(function, user, session);
}

} // extern "C"
