#include "linux/system/TcpTable.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

#include <linux/sockios.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr unsigned listening = 0x0A;  // TCP_LISTEN, as the tables write it.

/// The tables write addresses as the machine stores them, so on most machines backwards.
bool leadsFromLoopback(std::string_view address) {
    constexpr std::array<std::string_view, 6> reached{"0100007F",
                                                      "7F000001",
                                                      "00000000",
                                                      "00000000000000000000000000000000",
                                                      "0000000000000000FFFF00000100007F",
                                                      "00000000000000000000FFFF7F000001"};
    return std::ranges::find(reached, address) != reached.end();
}

/// One line of a table, as far as it is of interest.
struct Row {
    std::string_view address() const { return std::string_view(local).substr(0, local.rfind(':')); }
    bool isAtLoopback() const { return leadsFromLoopback(address()); }

    std::string local, remote;  ///< "address:port", in hexadecimal numbers.
    unsigned long state = 0;
    std::string queues;  ///< "not acknowledged:not read", in hexadecimal numbers.
    std::uint32_t user = 0;
    std::uint64_t inode = 0;
};

/// The number behind the last colon.
unsigned long lastNumber(const std::string& field) {
    const auto colon = field.rfind(':');
    return colon == field.npos ? 0 : std::strtoul(field.c_str() + colon + 1, nullptr, 16);
}

std::vector<Row> rows(std::string_view table) {
    std::vector<Row> rows;
    std::istringstream lines{std::string(table)};
    std::string line;
    std::getline(lines, line);  // The names of the columns.
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        Row row;
        std::string slot, state, timer, retransmits, timeout;
        if (!(fields >> slot >> row.local >> row.remote >> state >> row.queues >> timer >> retransmits >>
              row.user >> timeout >> row.inode))
            continue;
        row.state = std::strtoul(state.c_str(), nullptr, 16);
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string contents(const char* path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::optional<std::uint16_t> portOf(int socket, decltype(::getsockname)* name) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (name(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return std::nullopt;
    return address.sin_family == AF_INET ? std::optional(ntohs(address.sin_port)) : std::nullopt;
}

}  // namespace

std::vector<ListeningSocket> listeningSockets(std::string_view table, std::uint16_t port) {
    std::vector<ListeningSocket> sockets;
    for (const Row& row : rows(table)) {
        if (row.state == listening && lastNumber(row.local) == port)
            sockets.push_back({row.user, row.inode, row.isAtLoopback()});
    }
    return sockets;
}

std::vector<ListeningSocket> listeningSockets(std::uint16_t port) {
    auto sockets = listeningSockets(contents("/proc/net/tcp"), port);
    std::ranges::copy(listeningSockets(contents("/proc/net/tcp6"), port), std::back_inserter(sockets));
    return sockets;
}

bool isOurPort(std::uint16_t port) {
    const auto isForeign = [](const ListeningSocket& socket) {
        return socket.isAtLoopback && socket.user != geteuid();
    };
    return std::ranges::none_of(listeningSockets(port), isForeign);
}

std::optional<std::size_t> unreadAtEnd(std::string_view table, std::uint16_t local, std::uint16_t remote) {
    for (const Row& row : rows(table)) {
        if (row.isAtLoopback() && lastNumber(row.local) == local && lastNumber(row.remote) == remote)
            return lastNumber(row.queues);
    }
    return std::nullopt;
}

std::optional<std::size_t> unreadBytes(int socket) {
    const auto ours = portOf(socket, ::getsockname);
    const auto theirs = portOf(socket, ::getpeername);
    int onTheWay = 0;
    if (!ours || !theirs || ::ioctl(socket, SIOCOUTQ, &onTheWay) != 0) return std::nullopt;
    // The other end may be a socket for both protocols.
    for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        if (const auto arrived = unreadAtEnd(contents(path), *theirs, *ours))
            return static_cast<std::size_t>(onTheWay) + *arrived;
    }
    return std::nullopt;
}

}  // namespace orvane
