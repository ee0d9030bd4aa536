#include "linux/system/TcpTable.h"

#include "posix/FileText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
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

constexpr std::array tables{"/proc/net/tcp", "/proc/net/tcp6"};
// TCP_LISTEN, as the tables write it.
constexpr unsigned listening = 0x0A;
constexpr std::string_view listeningText = " 0A ";

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

/// Of the lines with `mark` in them. Connections that have just ended stand in a table by the thousand: they
/// are to cost next to nothing.
std::vector<Row> rows(std::string_view table, std::string_view mark) {
    std::vector<Row> rows;
    std::istringstream lines{std::string(table)};
    std::string line;
    std::getline(lines, line);  // The names of the columns.
    while (std::getline(lines, line)) {
        if (line.find(mark) == line.npos) continue;
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

std::optional<std::uint16_t> portOf(int socket, decltype(::getsockname)* name) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (name(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return std::nullopt;
    return address.sin_family == AF_INET ? std::optional(ntohs(address.sin_port)) : std::nullopt;
}

}  // namespace

std::vector<ListeningSocket> listeningSockets(std::string_view table, std::uint16_t port) {
    std::vector<ListeningSocket> sockets;
    for (const Row& row : rows(table, listeningText)) {
        if (row.state == listening && lastNumber(row.local) == port)
            sockets.push_back({row.user, row.inode, row.isAtLoopback()});
    }
    return sockets;
}

std::vector<ListeningSocket> listeningSockets(std::uint16_t port) {
    std::vector<ListeningSocket> sockets;
    for (const char* table : tables)
        std::ranges::copy(listeningSockets(fileText(table), port), std::back_inserter(sockets));
    return sockets;
}

bool isOurPort(std::uint16_t port) {
    if (access(tables.front(), R_OK) != 0) return true;
    const auto isOurs = [](const ListeningSocket& socket) { return socket.user == geteuid(); };
    // The tables are read while sockets come and go, so that one may be passed over: once, not twice.
    for (int look = 0; look < 2; ++look) {
        auto reached = listeningSockets(port);
        std::erase_if(reached, [](const ListeningSocket& socket) { return !socket.isAtLoopback; });
        if (!reached.empty()) return std::ranges::all_of(reached, isOurs);
    }
    return false;
}

std::optional<std::size_t> unreadAtEnd(std::string_view table, std::uint16_t local, std::uint16_t remote) {
    std::array<char, 8> mark{};
    std::snprintf(mark.data(), mark.size(), ":%04X ", remote);
    for (const Row& row : rows(table, mark.data())) {
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
    for (const char* path : tables) {
        if (const auto arrived = unreadAtEnd(fileText(path), *theirs, *ours))
            return static_cast<std::size_t>(onTheWay) + *arrived;
    }
    return std::nullopt;
}

}  // namespace orvane
