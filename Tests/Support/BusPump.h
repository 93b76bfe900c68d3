#pragma once

#include "TavoInhibit/BusHandles.h"

#include <functional>

namespace tavo {

/// Serves the scripted bus services of a test, on the test's own thread, while the test waits for something.
class BusPump {
public:
    BusPump() { checked(sd_event_new(Receive(loop)), "make an event loop"); }

    sd_event& event() { return *loop; }

    /// Serves until `happened` says yes. @returns false when it did not within 20 seconds.
    bool until(const std::function<bool()>& happened);

private:
    EventLoop loop;
};

} // namespace tavo
