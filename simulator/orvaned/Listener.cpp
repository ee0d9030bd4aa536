#include "Listener.h"

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvaned {

namespace {

/// Well below the usual limit of descriptors: later callers wait in the queue of the socket.
constexpr std::size_t maxConnections = 500;

void makeNonBlocking(int descriptor) {
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

bool isOnlyLater(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

std::string addressText(const sockaddr_in& address) {
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

}  // namespace

Listener::~Listener() {
    for (const auto& [id, pending] : connections_)
        close(id);
    if (socket_ >= 0) close(socket_);
}

std::optional<std::string> Listener::open(std::uint16_t port) {
    socket_ = socket(AF_INET, SOCK_STREAM, 0);
    const int yes = 1;
    setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool listening = socket_ >= 0 &&
                           bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                           listen(socket_, SOMAXCONN) == 0;
    if (!listening) return std::strerror(errno);
    makeNonBlocking(socket_);
    return std::nullopt;
}

void Listener::wait(int milliseconds) {
    const bool hasRoom = connections_.size() < maxConnections && !std::exchange(isShort_, false);
    std::vector<pollfd> watched = {{socket_, static_cast<short>(hasRoom ? POLLIN : 0), 0}};
    for (const auto& [id, pending] : connections_) {
        // A connection that does not take its echo is not read either: nothing piles up here.
        watched.push_back({id, static_cast<short>(pending.empty() ? POLLIN : POLLOUT), 0});
    }
    if (poll(watched.data(), static_cast<nfds_t>(watched.size()), milliseconds) <= 0) return;
    for (const pollfd& one : watched) {
        if (one.revents == 0) continue;
        if (one.fd == socket_) {
            accept();
        } else {
            serve(one.fd);
        }
    }
}

void Listener::accept() {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    const int id = ::accept(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    if (id < 0) {
        // A caller that cannot be let in stays in the queue, and the socket readable: it is left alone until
        // something else happens, or for a moment.
        isShort_ = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
        return;
    }
    makeNonBlocking(id);
    connections_[id];
    events_.joined(id, addressText(address));
}

void Listener::serve(Id id) {
    const bool alive = connections_[id].empty() ? receive(id) : sendBack(id);
    if (alive) return;
    connections_.erase(id);
    close(id);
    events_.left(id);
}

bool Listener::receive(Id id) {
    char buffer[16 * 1024];
    const ssize_t count = recv(id, buffer, sizeof buffer, 0);
    if (count < 0) return isOnlyLater(errno);
    if (count == 0) return false;
    events_.sent(id, static_cast<std::size_t>(count));
    if (!echo_) return true;
    connections_[id].assign(buffer, static_cast<std::size_t>(count));
    return sendBack(id);
}

bool Listener::sendBack(Id id) {
    std::string& pending = connections_[id];
    const ssize_t count = send(id, pending.data(), pending.size(), 0);
    if (count < 0) return isOnlyLater(errno);
    pending.erase(0, static_cast<std::size_t>(count));
    return true;
}

}  // namespace orvaned
