#include "Link.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace phone {

void Link::send(std::span<const std::uint8_t> bytes) {
    if (isUp()) outgoing_.insert(outgoing_.end(), bytes.begin(), bytes.end());
}

void Link::drop() {
    if (isUp()) ended("dropped");
}

bool Link::wait(int milliseconds, int other) {
    // A second computer waits in the queue of the listening socket.
    const auto outgoing = static_cast<short>(outgoing_.empty() ? 0 : POLLOUT);
    std::array<pollfd, 3> watched = {{{isUp() ? -1 : listening_.get(), POLLIN, 0},
                                      {connection_.get(), static_cast<short>(POLLIN | outgoing), 0},
                                      {other, POLLIN, 0}}};
    if (::poll(watched.data(), watched.size(), milliseconds) <= 0) return false;
    if (watched[0].revents != 0) accept();
    if ((watched[1].revents & POLLOUT) != 0) flush();
    if ((watched[1].revents & ~POLLOUT) != 0) receive();
    return watched[2].revents != 0;
}

void Link::accept() {
    connection_.reset(::accept4(listening_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (isUp()) events_.linked();
}

void Link::receive() {
    std::array<std::uint8_t, 4096> buffer;
    const ssize_t size = ::recv(connection_.get(), buffer.data(), buffer.size(), 0);
    if (size > 0) return events_.received(std::span(buffer).first(static_cast<std::size_t>(size)));
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    ended(size == 0 ? "end of stream" : std::strerror(errno));
}

void Link::flush() {
    const ssize_t size = ::send(connection_.get(), outgoing_.data(), outgoing_.size(), MSG_NOSIGNAL);
    // What has gone wrong shows when receiving.
    if (size > 0) outgoing_.erase(outgoing_.begin(), outgoing_.begin() + size);
}

void Link::ended(const std::string& reason) {
    connection_.reset();
    outgoing_.clear();
    events_.unlinked(reason);
}

}  // namespace phone
