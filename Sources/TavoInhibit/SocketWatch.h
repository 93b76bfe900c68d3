#pragma once

#include "TavoInhibit/BusHandles.h"
#include "base/FileDescriptor.h"

#include <filesystem>
#include <functional>
#include <string>

namespace tavo {

/// Waits for a socket file to appear or change, by inotify(7) and without a timer.
///
/// The folder that should hold it need not exist: then the nearest existing one above is watched. Mounts are watched
/// too, because a user's runtime folder is mounted over the one that was created for it, and inotify says nothing about
/// that.
class SocketWatch {
public:
    /// @param socket  absolute.
    /// @param changed  is called from the event loop at each sign that the socket may be there. May destroy the watch.
    SocketWatch(sd_event& event, std::filesystem::path socket, std::function<void()> changed);
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;

private:
    void watchNearestFolder();
    bool watch(const std::filesystem::path& folder);
    void watchMounts();
    void refresh();
    static int onFolderEvent(sd_event_source* source, const struct inotify_event* change, void* self) noexcept;
    static int onMountsChanged(sd_event_source* source, int descriptor, unsigned events, void* self) noexcept;

    sd_event& event;
    std::filesystem::path socket;
    std::function<void()> changed;
    /// The awaited entry of the watched folder: the socket, or the next folder on the way to it.
    std::string awaitedName;
    EventSource folderSource;
    FileDescriptor mountTable;
    EventSource mountSource;
};

} // namespace tavo
