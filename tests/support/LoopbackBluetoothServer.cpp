#include "support/LoopbackBluetoothServer.h"

#include <array>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvane::test {

namespace {

bool waitReadable(int fd) {
    pollfd entry{fd, POLLIN, 0};
    return ::poll(&entry, 1, 10'000) > 0;
}

}  // namespace

OwnedFd& OwnedFd::operator=(OwnedFd&& other) noexcept {
    if (this == &other) return *this;
    reset();
    fd_ = other.release();
    return *this;
}

int OwnedFd::release() {
    return std::exchange(fd_, -1);
}

void OwnedFd::reset() {
    if (fd_ >= 0) ::close(release());
}

bool ServerConnection::write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

std::vector<std::uint8_t> ServerConnection::read(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    std::size_t filled = 0;
    while (filled < size && waitReadable(fd_.get())) {
        const ssize_t count = ::recv(fd_.get(), bytes.data() + filled, size - filled, 0);
        if (count <= 0) break;
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

bool ServerConnection::atEnd() {
    std::array<std::uint8_t, 1> byte{};
    return waitReadable(fd_.get()) && ::recv(fd_.get(), byte.data(), byte.size(), 0) <= 0;
}

LoopbackBluetoothServer::LoopbackBluetoothServer() : listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (::bind(listener_.get(), generic, size) != 0) return;
    if (::getsockname(listener_.get(), generic, &size) == 0) port_ = ntohs(address.sin_port);
}

void LoopbackBluetoothServer::listen(int backlog) {
    ::listen(listener_.get(), backlog);
}

void LoopbackBluetoothServer::setReceiveBuffer(int bytes) {
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

ServerConnection LoopbackBluetoothServer::accept() {
    if (!waitReadable(listener_.get())) return ServerConnection(-1);
    return ServerConnection(::accept(listener_.get(), nullptr, nullptr));
}

}  // namespace orvane::test
