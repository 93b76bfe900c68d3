#include "system/macos/FakeRunLoop.h"

#include <array>
#include <cstring>

namespace tavo {

namespace {

// Objects are compared by their addresses; only this file knows their content.
std::array<char, 64> modeText{};
char theRunLoop = 0;
char theSource = 0;

CoreFoundationRef reference(const void* object) {
    return static_cast<CoreFoundationRef>(object);
}

} // namespace

PowerNotificationFunctions FakeRunLoop::functions() {
    PowerNotificationFunctions functions{};
    functions.createRunLoopSource = [](PowerNotificationFunctions::Callback onChange, void* argument) {
        auto& loop = current();
        loop.callback = onChange;
        loop.context = argument;
        return loop.lacksSources ? nullptr : reference(&theSource);
    };
    functions.getCurrentRunLoop = [] { return reference(&theRunLoop); };
    functions.addSource = [](CoreFoundationRef runLoop, CoreFoundationRef source, CoreFoundationRef inMode) {
        if (runLoop == reference(&theRunLoop) && source == reference(&theSource)) {
            current().mode = reinterpret_cast<const char*>(inMode);
        }
    };
    functions.run = [] {
        auto& loop = current();
        std::unique_lock lock(loop.mutex);
        loop.isRunning = true;
        ++loop.runs;
        while (true) {
            loop.changed.wait(lock, [&] { return loop.isToStop || loop.toFire > 0; });
            if (loop.isToStop) {
                break;
            }
            --loop.toFire;
            lock.unlock();
            loop.callback(loop.context);
            lock.lock();
        }
        loop.isRunning = false;
        loop.isToStop = false;
        ++loop.ends;
    };
    functions.stop = [](CoreFoundationRef runLoop) {
        auto& loop = current();
        const std::lock_guard lock(loop.mutex);
        ++loop.stopRequests;
        loop.isToStop = loop.isRunning && runLoop == reference(&theRunLoop);
        loop.changed.notify_all();
    };
    functions.createString = [](CoreFoundationRef allocator, const char* text,
                                PowerSourceFunctions::StringEncoding encoding) -> CoreFoundationRef {
        if (allocator != nullptr || encoding != PowerSourceFunctions::utf8) {
            return nullptr;
        }
        std::strncpy(modeText.data(), text, modeText.size() - 1);
        return reference(modeText.data());
    };
    functions.release = [](CoreFoundationRef) { ++current().released; };
    return functions;
}

FakeRunLoop& FakeRunLoop::current() {
    static FakeRunLoop loop;
    return loop;
}

void FakeRunLoop::fire() {
    const std::lock_guard lock(mutex);
    ++toFire;
    changed.notify_all();
}

} // namespace tavo
