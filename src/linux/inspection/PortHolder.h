// Who listens on a TCP port of this computer, as /proc tells (proc(5)). Any thread.
#pragma once

#include "platform/Inspection.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace orvane {

/// Inodes of the sockets that listen on `port`, in the text of /proc/net/tcp or tcp6.
std::vector<std::uint64_t> listeningSockets(std::string_view table, std::uint16_t port);

/// Of a holder that belongs to another user only the port is known.
std::optional<PortFacts> holderOfPort(std::uint16_t port);

}  // namespace orvane
