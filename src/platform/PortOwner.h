// Whose program it is that other programs on this computer reach at a port.
#pragma once

#include <cstdint>
#include <functional>

namespace orvane {

/// False when another user's program listens on that TCP port of 127.0.0.1; true also where the system does
/// not say. Main thread, short.
using IsOurPort = std::function<bool(std::uint16_t port)>;

/// For a system that does not say.
inline bool everyPortIsOurs(std::uint16_t) {
    return true;
}

}  // namespace orvane
