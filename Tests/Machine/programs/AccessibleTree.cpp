#include <atspi/atspi.h>
#include <fmt/format.h>

#include <cstdio>
#include <string>

namespace {

/// A string that the library has passed to its caller.
std::string taken(char* text) {
    const std::string copy = text == nullptr ? "" : text;
    g_free(text);
    return copy;
}

void print(AtspiAccessible* node, int depth) {
    if (node == nullptr) {
        return;
    }
    const auto role = taken(atspi_accessible_get_role_name(node, nullptr));
    const auto name = taken(atspi_accessible_get_name(node, nullptr));
    const auto description = taken(atspi_accessible_get_description(node, nullptr));
    fmt::print("{:{}}{}: {}{}\n", "", depth * 2, role, name, description.empty() ? "" : " (" + description + ")");
    const int count = atspi_accessible_get_child_count(node, nullptr);
    for (int index = 0; index < count; ++index) {
        auto* child = atspi_accessible_get_child_at_index(node, index, nullptr);
        print(child, depth + 1);
        if (child != nullptr) {
            g_object_unref(child);
        }
    }
}

} // namespace

/// Prints the application of that name as a screen reader finds it.
int main(int count, char** values) {
    if (count != 2) {
        fmt::print(stderr, "accessible-tree: name an application.\n");
        return 64;
    }
    atspi_init();
    auto* desktop = atspi_get_desktop(0);
    bool isFound = false;
    for (int index = 0; index < atspi_accessible_get_child_count(desktop, nullptr); ++index) {
        auto* application = atspi_accessible_get_child_at_index(desktop, index, nullptr);
        if (application != nullptr && taken(atspi_accessible_get_name(application, nullptr)) == values[1]) {
            isFound = true;
            print(application, 0);
        }
    }
    return isFound ? 0 : 1;
}
