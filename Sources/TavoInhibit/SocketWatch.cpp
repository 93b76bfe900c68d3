#include "TavoInhibit/SocketWatch.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/inotify.h>

namespace tavo {

SocketWatch::SocketWatch(sd_event& event, std::filesystem::path socket, std::function<void()> changed)
    : event(event), socket(std::move(socket)), changed(std::move(changed)) {
    watchMounts();
    watchNearestFolder();
}

void SocketWatch::watchMounts() {
    // proc(5), /proc/[pid]/mounts: polling it for EPOLLPRI reports mounts and unmounts. Where there is no procfs,
    // the folders alone are watched.
    mountTable = FileDescriptor(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    if (mountTable) {
        sd_event_add_io(&event, Receive(mountSource), mountTable.get(), EPOLLPRI, onMountsChanged, this);
    }
}

void SocketWatch::watchNearestFolder() {
    auto awaited = socket;
    while (awaited.has_relative_path() && !watch(awaited.parent_path())) {
        awaited = awaited.parent_path();
    }
    // A folder that appeared before its watch was there brings no event: go down as far as folders exist.
    std::error_code ignored;
    while (awaited != socket && std::filesystem::is_directory(awaited, ignored) && watch(awaited)) {
        const auto rest = socket.lexically_relative(awaited);
        awaited /= *rest.begin();
    }
    awaitedName = awaited.filename();
}

bool SocketWatch::watch(const std::filesystem::path& folder) {
    // IN_ATTRIB: a server opens up its socket's mode when it listens, after the file was created.
    constexpr std::uint32_t signs = IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    EventSource added;
    if (sd_event_add_inotify(&event, Receive(added), folder.c_str(), signs, onFolderEvent, this) < 0) {
        return false;
    }
    folderSource = std::move(added);
    return true;
}

int SocketWatch::onFolderEvent(sd_event_source*, const struct inotify_event* change, void* self) noexcept {
    auto& watch = *static_cast<SocketWatch*>(self);
    // A nameless event is about the watched folder itself, or reports missed events.
    if (change->len == 0 || watch.awaitedName == change->name) {
        watch.refresh();
    }
    return 0;
}

int SocketWatch::onMountsChanged(sd_event_source*, int, unsigned, void* self) noexcept {
    static_cast<SocketWatch*>(self)->refresh();
    return 0;
}

void SocketWatch::refresh() {
    watchNearestFolder();
    // Last, and from a copy, because it may destroy this watch.
    const auto notify = changed;
    notify();
}

} // namespace tavo
