#pragma once

#include "Support/TemporaryDirectory.h"
#include "base/FileDescriptor.h"

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

namespace tavo {

/// Stands in for the system bus: greets each client, answers its calls one by one as it was told, and hangs up with the
/// last answer.
class ScriptedBus {
public:
    /// An answer to one call.
    struct Answer {
        enum class Kind { reply, error, bytes };

        Kind kind = Kind::reply;

        /// Of a reply; a descriptor goes with it for each "h".
        std::string signature;

        /// An error's name.
        std::string name;

        /// The body, or all of the bytes.
        std::string content;
    };

    /// Has this process take it for its system bus. @throws std::system_error
    ScriptedBus();
    ScriptedBus(const ScriptedBus&) = delete;
    ScriptedBus& operator=(const ScriptedBus&) = delete;
    ~ScriptedBus();

    /// For the next client; there must be none now. @param newAnswers  at least one.
    void answerWith(std::vector<Answer> newAnswers) { answers = std::move(newAnswers); }

    /// Waits until so many clients have been served since the beginning, and nothing of them is open.
    void awaitEnd(std::size_t clients) const;

private:
    void serve();
    void serveClient(const FileDescriptor& client) const;
    void answer(const FileDescriptor& client, const Answer& answer, std::uint32_t serial) const;

    TemporaryDirectory folder;
    FileDescriptor listening;
    std::vector<Answer> answers;
    std::atomic<std::size_t> served = 0;
    std::thread server;
};

} // namespace tavo
