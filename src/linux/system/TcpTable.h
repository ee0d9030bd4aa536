// Who listens on the TCP ports of this computer, as /proc/net/tcp and tcp6 tell (proc(5)). Any thread.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace orvane {

struct ListeningSocket {
    std::uint32_t user;
    std::uint64_t inode;
    bool isAtLoopback;  ///< 127.0.0.1 leads to it.
    bool operator==(const ListeningSocket&) const = default;
};

/// The sockets that listen on `port`, in the text of one of the two tables.
std::vector<ListeningSocket> listeningSockets(std::string_view table, std::uint16_t port);

/// The same of this computer now; empty also when the tables cannot be read.
std::vector<ListeningSocket> listeningSockets(std::uint16_t port);

/// False when what 127.0.0.1 leads to at `port` is another user's.
bool isOurPort(std::uint16_t port);

}  // namespace orvane
