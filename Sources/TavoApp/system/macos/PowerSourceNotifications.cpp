#include "system/macos/PowerSourceNotifications.h"

#include "system/macos/PowerSourceFunctions.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace tavo {

namespace {

/// The value of kCFRunLoopDefaultMode. Modes are compared by their text.
constexpr const char* defaultMode = "kCFRunLoopDefaultMode";

/// Between two requests to stop: the first comes to nothing when the run loop is only just about to run.
constexpr std::chrono::milliseconds requestInterval{10};

class RunLoopWatch final : public PowerChangeWatch {
public:
    RunLoopWatch(const PowerNotificationFunctions& functions, std::function<void()> observer)
        : functions(functions), observer(std::move(observer)),
          source(functions.createRunLoopSource([](void* context) { static_cast<RunLoopWatch*>(context)->observer(); },
                                               this)) {
        if (source == nullptr) {
            throw std::system_error(std::make_error_code(std::errc::operation_not_supported),
                                    "IOKit does not tell of power changes");
        }
        thread = std::thread([this] { listen(); });
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return runLoop != nullptr || hasEnded; });
    }
    RunLoopWatch(const RunLoopWatch&) = delete;
    RunLoopWatch& operator=(const RunLoopWatch&) = delete;
    ~RunLoopWatch() override {
        std::unique_lock lock(mutex);
        while (!hasEnded) {
            functions.stop(runLoop);
            changed.wait_for(lock, requestInterval);
        }
        lock.unlock();
        thread.join();
        functions.release(source);
    }

private:
    void listen() {
        const auto mode = functions.createString(nullptr, defaultMode, PowerSourceFunctions::utf8);
        const auto current = functions.getCurrentRunLoop();
        if (mode != nullptr) {
            functions.addSource(current, source, mode);
            tell([&] { runLoop = current; });
            functions.run();
            functions.release(mode);
        }
        tell([&] { hasEnded = true; });
    }

    template <typename Change>
    void tell(Change change) {
        const std::lock_guard lock(mutex);
        change();
        changed.notify_all();
    }

    PowerNotificationFunctions functions;
    std::function<void()> observer;
    CoreFoundationRef source;
    std::mutex mutex;
    std::condition_variable changed;
    CoreFoundationRef runLoop = nullptr;
    bool hasEnded = false;
    std::thread thread;
};

} // namespace

std::optional<PowerNotificationFunctions> PowerNotificationFunctions::load(const char* path) {
    const LoadedFunctions library(path);
    PowerNotificationFunctions functions{};
    const bool isComplete = library.find(functions.createRunLoopSource, "IOPSNotificationCreateRunLoopSource") &&
                            library.find(functions.getCurrentRunLoop, "CFRunLoopGetCurrent") &&
                            library.find(functions.addSource, "CFRunLoopAddSource") &&
                            library.find(functions.run, "CFRunLoopRun") &&
                            library.find(functions.stop, "CFRunLoopStop") &&
                            library.find(functions.createString, "CFStringCreateWithCString") &&
                            library.find(functions.release, "CFRelease");
    return isComplete ? std::optional(functions) : std::nullopt;
}

std::unique_ptr<PowerChangeWatch> PowerSourceNotifications::watch(std::function<void()> observer) {
    if (!functions) {
        throw std::system_error(std::make_error_code(std::errc::operation_not_supported), "there is no IOKit");
    }
    return std::make_unique<RunLoopWatch>(*functions, std::move(observer));
}

} // namespace tavo
