#include "TavoPrivilegedHelper/linux/HelperListener.h"

#include "TavoPrivilegedHelper/linux/HelperConnection.h"
#include "system/AsioTimer.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace tavo {

namespace {

/// Enough for a flood that comes while the helper is busy with one request; the kernel may allow fewer.
constexpr int queueLength = 4096;

constexpr std::chrono::milliseconds pauseAfterFailure{100};

} // namespace

class HelperListener::Acceptor final : public std::enable_shared_from_this<Acceptor> {
public:
    Acceptor(asio::io_context& loop, std::shared_ptr<const HelperService> service,
             std::shared_ptr<const PeerIdentification> peers, Limits limits)
        : service(std::move(service)), peers(std::move(peers)), limits(limits), loop(loop), acceptor(loop) {}

    void listenAt(const std::filesystem::path& place) {
        path = place;
        std::filesystem::remove(path);
        acceptor.open();
        acceptor.bind(asio::local::stream_protocol::endpoint(path.string()));
        // For all users, whatever the process's mask: one that cannot connect cannot be told why it is not served.
        if (chmod(path.c_str(), S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH) != 0) {
            throw std::system_error(errno, std::generic_category(), "could not open to all " + path.string());
        }
        acceptor.listen(queueLength);
    }

    void takeOver(FileDescriptor listening) {
        passed = std::move(listening);
        acceptor.assign(asio::local::stream_protocol(), passed.get());
    }

    void acceptNext() {
        isAccepting = true;
        acceptor.async_accept(
            [weakSelf = weak_from_this()](const asio::error_code& error, asio::local::stream_protocol::socket socket) {
                const auto self = weakSelf.lock();
                if (!self) {
                    return;
                }
                self->isAccepting = false;
                if (error && error != asio::error::operation_aborted) {
                    self->retryLater();
                    return;
                }
                if (!error) {
                    self->serve(std::move(socket));
                }
                self->acceptIfThereIsRoom();
            });
    }

    void close() {
        asio::error_code ignored; // there is no other way to end it
        retryTimer.reset();
        if (passed) {
            acceptor.release(ignored); // the descriptor has an owner already
        } else {
            acceptor.close(ignored);
            std::filesystem::remove(path, ignored);
        }
    }

    std::size_t openConnections() const { return open; }

    void pause() {
        isPaused = true;
        acceptor.cancel();
    }

    void resume() {
        isPaused = false;
        acceptIfThereIsRoom();
    }

    std::function<void()> onConnectionEnd;

private:
    /// Counts a connection while it lives.
    class OpenConnection {
    public:
        explicit OpenConnection(std::weak_ptr<Acceptor> counter) : counter(std::move(counter)) {
            ++this->counter.lock()->open;
        }
        OpenConnection(const OpenConnection&) = delete;
        OpenConnection& operator=(const OpenConnection&) = delete;
        ~OpenConnection() {
            if (const auto acceptor = counter.lock()) {
                --acceptor->open;
                acceptor->acceptIfThereIsRoom();
                if (acceptor->onConnectionEnd) {
                    acceptor->onConnectionEnd();
                }
            }
        }

    private:
        std::weak_ptr<Acceptor> counter;
    };

    void serve(asio::local::stream_protocol::socket socket) {
        std::make_shared<HelperConnection>(std::move(socket), service, peers, limits.deadline,
                                           std::make_shared<OpenConnection>(weak_from_this()))
            ->begin();
    }

    void acceptIfThereIsRoom() {
        if (!isAccepting && !isPaused && acceptor.is_open() && open < limits.connections) {
            acceptNext();
        }
    }

    /// Out of descriptors or memory, for the moment: other connections end.
    void retryLater() {
        retryTimer.emplace(loop, pauseAfterFailure, [weakSelf = weak_from_this()] {
            if (const auto self = weakSelf.lock()) {
                self->acceptIfThereIsRoom();
            }
        });
    }

    /// A socket that was made here, or else one that was passed.
    std::filesystem::path path;
    FileDescriptor passed;
    std::shared_ptr<const HelperService> service;
    std::shared_ptr<const PeerIdentification> peers;
    Limits limits;
    asio::io_context& loop;
    asio::local::stream_protocol::acceptor acceptor;
    std::optional<AsioTimer> retryTimer;
    std::size_t open = 0;
    bool isAccepting = false;
    bool isPaused = false;
};

HelperListener::HelperListener(asio::io_context& loop, const std::filesystem::path& path,
                               std::shared_ptr<const HelperService> service,
                               std::shared_ptr<const PeerIdentification> peers, Limits limits)
    : acceptor(std::make_shared<Acceptor>(loop, std::move(service), std::move(peers), limits)) {
    acceptor->listenAt(path);
    acceptor->acceptNext();
}

HelperListener::HelperListener(asio::io_context& loop, const std::filesystem::path& path,
                               std::shared_ptr<const HelperService> service,
                               std::shared_ptr<const PeerIdentification> peers)
    : HelperListener(loop, path, std::move(service), std::move(peers), Limits()) {}

HelperListener::HelperListener(asio::io_context& loop, FileDescriptor listening,
                               std::shared_ptr<const HelperService> service,
                               std::shared_ptr<const PeerIdentification> peers)
    : acceptor(std::make_shared<Acceptor>(loop, std::move(service), std::move(peers), Limits())) {
    acceptor->takeOver(std::move(listening));
    acceptor->acceptNext();
}

HelperListener::~HelperListener() {
    acceptor->close();
}

std::size_t HelperListener::openConnections() const {
    return acceptor->openConnections();
}

void HelperListener::onConnectionEnd(std::function<void()> work) {
    acceptor->onConnectionEnd = std::move(work);
}

void HelperListener::pause() {
    acceptor->pause();
}

void HelperListener::resume() {
    acceptor->resume();
}

} // namespace tavo
