#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace tavo {

/// Makes the whole application light or dark like the desktop, now and whenever that changes.
class DesktopColourScheme final {
public:
    DesktopColourScheme();
    DesktopColourScheme(const DesktopColourScheme&) = delete;
    DesktopColourScheme& operator=(const DesktopColourScheme&) = delete;
    ~DesktopColourScheme();

private:
    class Listener;
    std::unique_ptr<Listener> listener;
};

} // namespace tavo
