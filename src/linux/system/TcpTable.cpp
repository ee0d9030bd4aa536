#include "linux/system/TcpTable.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

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

std::string contents(const char* path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

std::vector<ListeningSocket> listeningSockets(std::string_view table, std::uint16_t port) {
    std::vector<ListeningSocket> sockets;
    std::istringstream lines{std::string(table)};
    std::string line;
    std::getline(lines, line);  // The names of the columns.
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queues, timer, retransmits, timeout;
        ListeningSocket socket{};
        if (!(fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> socket.user >>
              timeout >> socket.inode))
            continue;
        const auto colon = local.rfind(':');
        if (colon == local.npos || std::strtoul(state.c_str(), nullptr, 16) != listening) continue;
        if (std::strtoul(local.c_str() + colon + 1, nullptr, 16) != port) continue;
        socket.isAtLoopback = leadsFromLoopback(std::string_view(local).substr(0, colon));
        sockets.push_back(socket);
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

}  // namespace orvane
