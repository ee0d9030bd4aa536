#include "Endpoint.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <arpa/inet.h>
#include <bluetooth/bluetooth.h>
#include <bluetooth/rfcomm.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace phone {

namespace {

std::optional<int> parseNumber(const std::string& text, int highest) {
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const int number = std::atoi(text.c_str());
    return number <= highest ? std::optional(number) : std::nullopt;
}

template <typename Address>
orvane::Descriptor bound(int family, int protocol, const Address& address) {
    orvane::Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
    if (!socket) return socket;
    const int yes = 1;
    if (family == AF_INET) ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    if (::bind(socket.get(), generic, sizeof address) != 0 || ::listen(socket.get(), 1) != 0) {
        const int error = errno;
        socket.reset();
        errno = error;
    }
    return socket;
}

/// What the system has filled in at the socket's address.
template <typename Address>
Address ownAddress(const orvane::Descriptor& socket) {
    Address address{};
    socklen_t size = sizeof address;
    ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size);
    return address;
}

Listening listenRfcomm(int channel, const std::string& adapter) {
    sockaddr_rc address{};
    address.rc_family = AF_BLUETOOTH;
    address.rc_channel = static_cast<std::uint8_t>(channel);
    if (!adapter.empty()) str2ba(adapter.c_str(), &address.rc_bdaddr);
    Listening listening{bound(AF_BLUETOOTH, BTPROTO_RFCOMM, address), 0};
    if (!listening.socket) return listening;
    listening.number = ownAddress<sockaddr_rc>(listening.socket).rc_channel;
    return listening;
}

Listening listenTcp(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    Listening listening{bound(AF_INET, 0, address), 0};
    if (!listening.socket) return listening;
    listening.number = ntohs(ownAddress<sockaddr_in>(listening.socket).sin_port);
    return listening;
}

Listening listenUnix(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return {};
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    return {bound(AF_UNIX, 0, address), 0};
}

}  // namespace

std::optional<Endpoint> Endpoint::parse(const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::string kind = text.substr(0, colon);
    const std::string rest = colon == std::string::npos ? "" : text.substr(colon + 1);

    if (text == "rfcomm") return Endpoint{};
    if (kind == "unix" && !rest.empty()) return Endpoint{Kind::unixSocket, 0, rest};
    if (kind == "tcp") {
        if (const auto port = parseNumber(rest, 65535)) return Endpoint{Kind::tcp, *port, {}};
    }
    if (kind == "rfcomm") {
        const auto channel = parseNumber(rest, 30);
        if (channel && *channel > 0) return Endpoint{Kind::rfcomm, *channel, {}};
    }
    return std::nullopt;
}

std::optional<Listening> listenOn(const Endpoint& endpoint, const std::string& adapter) {
    Listening listening;
    switch (endpoint.kind) {
        case Endpoint::Kind::rfcomm:
            listening = listenRfcomm(endpoint.number, adapter);
            break;
        case Endpoint::Kind::tcp:
            listening = listenTcp(endpoint.number);
            break;
        case Endpoint::Kind::unixSocket:
            listening = listenUnix(endpoint.path);
            break;
    }
    if (!listening.socket) return std::nullopt;
    return listening;
}

}  // namespace phone
