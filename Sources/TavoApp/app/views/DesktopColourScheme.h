#pragma once

#include <QObject>
#include <functional>
#include <memory>

namespace tavo {

/// Has the whole application look light or dark as the desktop does, now and whenever that changes.
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
