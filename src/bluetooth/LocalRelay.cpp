#include "bluetooth/LocalRelay.h"

#include "posix/Deadline.h"

#include <cerrno>
#include <chrono>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace orvane {

namespace {

// POSIX has two ways to keep a dead peer from raising SIGPIPE; a system has the one or the other.
#ifdef MSG_NOSIGNAL
constexpr int noSignal = MSG_NOSIGNAL;
#else
constexpr int noSignal = 0;
#endif

void setOption(int fd, int level, int option) {
    const int on = 1;
    ::setsockopt(fd, level, option, &on, sizeof on);
}

void setBlocking(int fd, bool blocking) {
    const int flags = ::fcntl(fd, F_GETFL);
    ::fcntl(fd, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

LocalRelay::Connecting startConnect(int fd, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = ::inet_addr("127.0.0.1");
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return LocalRelay::Connecting::done;
    const bool later = errno == EINPROGRESS || errno == EINTR;  // An interrupted one goes on by itself.
    return later ? LocalRelay::Connecting::underWay : LocalRelay::Connecting::failed;
}

/// True once the connecting has come to an end, for better or worse. On this machine that takes no time,
/// unless nobody accepts: worth a wait that nobody notices, so that what follows an attach need not wait.
bool hasEnded(int fd) {
    constexpr std::chrono::milliseconds unnoticed{20};
    return pollUntil(fd, POLLOUT, Deadline::after(unnoticed));
}

bool hasConnected(int fd) {
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

/// The port that the socket is connected to.
std::uint16_t portReached(int fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getpeername(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

}  // namespace

Descriptor makeServerSocket() {
#ifdef SOCK_CLOEXEC
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
#else
    Descriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    if (socket) ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
#endif
#ifdef SO_NOSIGPIPE
    if (socket) setOption(socket.get(), SOL_SOCKET, SO_NOSIGPIPE);
#endif
    return socket;
}

LocalRelay::LocalRelay(Descriptor socket, Roles roles, Handlers handlers)
    : socket_(std::move(socket)),
      roles_(roles),
      handlers_(std::move(handlers)),
      outbox_(roles.runLoop, roles.clock,
              {.write = [this](std::span<const std::uint8_t> bytes) { return writeSome(bytes); },
               .unread = [this] { return roles_.unreadBytes(fd()); },
               .hasRoom = [this] { handlers_.hasRoom(); },
               .stalled = [this] { giveUp(); }}) {}

LocalRelay::~LocalRelay() {
    if (reader_) reader_->stop();
    ::shutdown(fd(), SHUT_RDWR);  // Wakes the reader, which has a descriptor of its own.
}

LocalRelay::Connecting LocalRelay::connect(std::uint16_t port) {
    setBlocking(fd(), false);
    state_ = startConnect(fd(), port);
    if (state_ == Connecting::underWay && hasEnded(fd()))
        state_ = hasConnected(fd()) ? Connecting::done : Connecting::failed;
    if (state_ == Connecting::done && !begin()) state_ = Connecting::failed;
    if (state_ != Connecting::underWay) return state_;
    writable_ = roles_.runLoop.watchWritable(fd(), [this] { endConnecting(hasConnected(fd())); });
    connectTimer_ = roles_.runLoop.scheduledTimer(connectLimit, [this] { endConnecting(false); });
    return state_;
}

void LocalRelay::endConnecting(bool connected) {
    writable_.reset();
    connectTimer_.reset();
    state_ = connected && begin() ? Connecting::done : Connecting::failed;
    const auto told = handlers_.connected;  // It may destroy this.
    told(state_);
}

bool LocalRelay::begin() {
    // Whoever takes the port before the server does would get what the phone hears.
    if (!roles_.isOurPort(portReached(fd()))) {
        lack_ = "no program of this user listens at orvaned's port";
        return false;
    }
    setBlocking(fd(), true);  // For the reader; writing does not wait in any case.
    setOption(fd(), IPPROTO_TCP, TCP_NODELAY);
    auto reader = std::make_shared<LocalReader>(fd(), roles_.runLoop, handlers_.reader);
    if (!reader->isOpen()) {
        lack_ = "no descriptor is left for a connection into orvaned";
        return false;
    }
    const bool started = roles_.threads.start("orvane.bt.local", [isWanted = handlers_.isWanted, reader] {
        if (isWanted()) reader->run();
    });
    if (started)
        reader_ = std::move(reader);
    else
        lack_ = "no thread is left for a connection into orvaned";
    return started;
}

void LocalRelay::send() {
    outbox_.send();
    follow();
}

/// A connection that is dead takes everything: its reader tells of it.
std::size_t LocalRelay::writeSome(std::span<const std::uint8_t> bytes) {
    while (true) {
        const ssize_t count = ::send(fd(), bytes.data(), bytes.size(), noSignal | MSG_DONTWAIT);
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) return 0;
        ::shutdown(fd(), SHUT_RDWR);
        return bytes.size();
    }
}

void LocalRelay::writable() {
    outbox_.flush();
    follow();
}

void LocalRelay::giveUp() {
    ::shutdown(fd(), SHUT_RDWR);
    outbox_.clear();
    follow();
    handlers_.hasRoom();
}

/// Watches the socket while bytes wait, and only then.
void LocalRelay::follow() {
    if (outbox_.isEmpty()) return writable_.reset();
    if (!writable_) writable_ = roles_.runLoop.watchWritable(fd(), [this] { writable(); });
}

void LocalRelay::holdReader(bool held) {
    if (reader_) reader_->hold(held);
}

}  // namespace orvane
