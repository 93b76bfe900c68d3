#pragma once

#include <csignal>
#include <functional>
#include <thread>
#include <utility>

namespace tavo {

/// Starts a thread that takes no signals: they are the main thread's.
inline std::thread startSignalFreeThread(std::function<void()> work) {
    return std::thread([work = std::move(work)] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        work();
    });
}

} // namespace tavo
