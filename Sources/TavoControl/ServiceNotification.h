#pragma once

#include <string>

namespace tavo {

/// Tells the service manager that started this process how it goes, sd_notify(3). Does nothing where none has asked.
/// Nothing here fails: a run keeps the computer awake whether or not anybody hears of it.
class ServiceNotification {
public:
    /// Tells nobody.
    ServiceNotification() = default;

    /// Takes the manager's address out of the environment, so that no child speaks for this process. To be called
    /// before there is a second thread.
    static ServiceNotification fromEnvironment();

    /// The service does its work from now on.
    void ready() const { send("READY=1"); }

    /// The service is about to end.
    void stopping() const { send("STOPPING=1"); }

    /// The status of the service that its manager shows; sent only when it differs from the last one.
    /// @param text  on one line.
    void status(const std::string& text) {
        if (!address.empty() && text != lastStatus) {
            lastStatus = text;
            send("STATUS=" + text);
        }
    }

private:
    void send(const std::string& assignment) const;

    /// A socket's path, which begins with @ for a name of the abstract namespace; empty when nobody has asked.
    std::string address;
    std::string lastStatus;
};

} // namespace tavo
