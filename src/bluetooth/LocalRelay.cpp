#include "bluetooth/LocalRelay.h"

#include "platform/RunLoop.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvane {

namespace {

// POSIX has two ways to keep a dead peer from raising SIGPIPE; a system has the one or the other.
#ifdef MSG_NOSIGNAL
constexpr int noSignal = MSG_NOSIGNAL;
#else
constexpr int noSignal = 0;
#endif

using Deadline = std::chrono::steady_clock::time_point;

Deadline deadlineFromNow() {
    return std::chrono::steady_clock::now() + serverWait;
}

void setOption(int fd, int level, int option) {
    const int on = 1;
    ::setsockopt(fd, level, option, &on, sizeof on);
}

/// True when the socket takes bytes, or has something to say about an error, before the deadline.
bool waitUntilWritable(int fd, Deadline deadline) {
    while (true) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd entry{fd, POLLOUT, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready > 0) return true;
        if (ready == 0 || errno != EINTR) return false;
    }
}

bool connectWithin(int fd, const sockaddr_in& address, Deadline deadline) {
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return true;
    if (errno != EINPROGRESS || !waitUntilWritable(fd, deadline)) return false;
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

bool writeWithin(int fd, std::span<const std::uint8_t> bytes, Deadline deadline) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(fd, bytes.data(), bytes.size(), noSignal | MSG_DONTWAIT);
        if (count > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
            continue;
        }
        const bool later = count < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK);
        if (!later || !waitUntilWritable(fd, deadline)) return false;
    }
    return true;
}

ssize_t readSome(int fd, std::span<std::uint8_t> buffer) {
    while (true) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count >= 0 || errno != EINTR) return count;
    }
}

}  // namespace

int makeServerSocket() {
#ifdef SOCK_CLOEXEC
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
#else
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd >= 0) ::fcntl(fd, F_SETFD, FD_CLOEXEC);
#endif
#ifdef SO_NOSIGPIPE
    if (fd >= 0) setOption(fd, SOL_SOCKET, SO_NOSIGPIPE);
#endif
    return fd;
}

bool connectToServer(int fd, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = ::inet_addr("127.0.0.1");

    const int flags = ::fcntl(fd, F_GETFL);
    ::fcntl(fd, F_SETFL, flags | O_NONBLOCK);
    const bool connected = connectWithin(fd, address, deadlineFromNow());
    ::fcntl(fd, F_SETFL, flags);
    if (connected) setOption(fd, IPPROTO_TCP, TCP_NODELAY);
    return connected;
}

void writeToServer(int fd, std::span<const std::uint8_t> bytes) {
    if (!writeWithin(fd, bytes, deadlineFromNow())) ::shutdown(fd, SHUT_RDWR);
}

void closeServerSocket(int fd) {
    ::shutdown(fd, SHUT_RDWR);
    ::close(fd);
}

LocalReader::LocalReader(int fd, RunLoop& runLoop, Handlers handlers)
    : fd_(::fcntl(fd, F_DUPFD_CLOEXEC, 0)), runLoop_(runLoop), handlers_(std::move(handlers)) {}

LocalReader::~LocalReader() {
    if (fd_ >= 0) ::close(fd_);
}

void LocalReader::run() {
    std::array<std::uint8_t, readSize> buffer{};
    while (waitForRoom()) {
        const ssize_t count = readSome(fd_, buffer);
        if (count < 1 || stopped_) break;
        post({buffer.begin(), buffer.begin() + count});
    }
    ::close(std::exchange(fd_, -1));  // Not left to the blocks posted, which may wait for long.
    runLoop_.async([self = shared_from_this()] { self->handlers_.ended(); });
}

void LocalReader::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    roomOrStop_.notify_one();
}

bool LocalReader::waitForRoom() {
    std::unique_lock lock(mutex_);
    // Once full, it goes on when half is free: a thread woken for every chunk would cost more than the chunk.
    if (waiting_ >= maxWaiting)
        roomOrStop_.wait(lock, [this] { return stopped_ || waiting_ <= maxWaiting / 2; });
    return !stopped_;
}

void LocalReader::post(Bytes chunk) {
    {
        const std::lock_guard lock(mutex_);
        ++waiting_;
    }
    runLoop_.async([self = shared_from_this(), chunk = std::move(chunk)] {
        self->handlers_.received(chunk);
        self->handled();
    });
}

void LocalReader::handled() {
    const std::lock_guard lock(mutex_);
    if (--waiting_ == maxWaiting / 2) roomOrStop_.notify_one();
}

}  // namespace orvane
