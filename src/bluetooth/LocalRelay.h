// The phone's connection into the server: a TCP connection on this machine. Neither connecting nor writing
// ever blocks the main thread, to which everything here belongs, except the reader of the socket, which has a
// thread of its own.
#pragma once

#include "bluetooth/LocalReader.h"
#include "bluetooth/Outbox.h"
#include "platform/PortOwner.h"
#include "platform/RunLoop.h"
#include "platform/Threads.h"
#include "platform/UnreadBytes.h"
#include "posix/Descriptor.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace orvane {

/// A TCP socket that no child inherits and whose death raises no SIGPIPE; none when there is none to be had.
Descriptor makeServerSocket();

/// Destroying it ends the connection both ways, at once.
///
/// A server that reads nothing for `Outbox::patience` while bytes wait is given up: the connection is ended,
/// what waits is dropped, and the reader reports the end like any other. Where the system does not say what
/// the server reads, it counts what the connection takes.
class LocalRelay {
  public:
    /// The longest that connecting may take.
    static constexpr Duration connectLimit{2.0};

    enum class Connecting { underWay, failed, done };

    struct Roles {
        RunLoop& runLoop;
        const Clock& clock;
        Threads& threads;
        IsOurPort isOurPort = everyPortIsOurs;
        UnreadBytes unreadBytes = unreadBytesUnknown;
    };
    /// What the owner is told.
    struct Handlers {
        /// The end of a connecting that was under way when `connect` returned; may destroy the relay.
        std::function<void(Connecting)> connected;
        /// It was full and is so no longer.
        std::function<void()> hasRoom;
        LocalReader::Handlers reader;
        /// The reader's thread runs only while this says so when it begins.
        std::function<bool()> isWanted;
    };

    /// `socket` as `makeServerSocket` makes it. The roles outlive the relay.
    LocalRelay(Descriptor socket, Roles roles, Handlers handlers);
    ~LocalRelay();
    LocalRelay(const LocalRelay&) = delete;
    LocalRelay& operator=(const LocalRelay&) = delete;

    /// Connects to 127.0.0.1 at `port` with Nagle's algorithm off, and starts the reader. Once.
    Connecting connect(std::uint16_t port);
    Connecting state() const { return state_; }
    /// What the system lacked, when that is why it failed; else empty.
    std::string_view lack() const { return lack_; }
    /// The number of the descriptor.
    int fd() const { return socket_.get(); }

    /// Only once connected. Puts the bytes behind those for the server; `send` writes them.
    void add(std::span<const std::uint8_t> bytes) { outbox_.add(bytes); }
    /// Writes what has been added, all at once, and keeps what the server does not take.
    void send();
    /// Whoever writes is to stop until there is room.
    bool isFull() const { return outbox_.isFull(); }
    /// While it is held, the reader reads nothing further.
    void holdReader(bool held);

  private:
    void endConnecting(bool connected);
    bool begin();
    std::size_t writeSome(std::span<const std::uint8_t> bytes);
    void writable();
    void giveUp();
    void follow();

    Descriptor socket_;
    const Roles roles_;
    const Handlers handlers_;
    Connecting state_ = Connecting::underWay;
    std::string_view lack_;
    Outbox outbox_;
    std::shared_ptr<LocalReader> reader_;
    std::unique_ptr<Watch> writable_;  ///< While connecting, and while bytes wait.
    std::unique_ptr<Timer> connectTimer_;
};

}  // namespace orvane
