#pragma once

#include <dlfcn.h>

#include <type_traits>

namespace tavo {

/// A library that is loaded at run time, dlopen(3), and stays loaded.
class LoadedFunctions {
public:
    explicit LoadedFunctions(const char* path) : library(dlopen(path, RTLD_LAZY | RTLD_LOCAL)) {}

    /// Looks a function up. False when the library or the function is missing.
    template <typename Function>
    bool find(Function*& function, const char* name) const {
        function = library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, name));
        return function != nullptr;
    }

private:
    void* library;
};

} // namespace tavo
