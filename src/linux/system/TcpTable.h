// The TCP sockets of this computer, as /proc/net/tcp and tcp6 tell of them (proc(5)): who listens, and what
// lies unread. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
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

/// True when something listens there, and 127.0.0.1 leads to nobody else's; true also where there are no
/// tables.
bool isOurPort(std::uint16_t port);

/// How many bytes lie unread at the end of a connection within this computer that has the port `local`, its
/// other end having `remote`, in the text of one of the two tables; nothing when there is no such end.
std::optional<std::size_t> unreadAtEnd(std::string_view table, std::uint16_t local, std::uint16_t remote);

/// How many of the bytes written to `socket`, one end of such a connection, have not been read at the other.
std::optional<std::size_t> unreadBytes(int socket);

}  // namespace orvane
