#pragma once

#include <filesystem>

namespace tavo {

/// A Unix socket that accepts connections and says nothing: a server that hangs, or turns everybody away.
class BareListener {
public:
    /// @throws std::system_error
    explicit BareListener(const std::filesystem::path& path);
    ~BareListener();
    BareListener(const BareListener&) = delete;
    BareListener& operator=(const BareListener&) = delete;

    /// Accepts a connection that is waiting. @returns false when there is none.
    bool accept();

    /// Ends the last accepted connection.
    void turnAway();

private:
    int listener = -1;
    int connection = -1;
};

} // namespace tavo
