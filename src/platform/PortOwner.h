// Whose program it is that other programs on this computer reach at a port.
#pragma once

#include <cstdint>
#include <functional>

namespace orvane {

/// True when what listens on that TCP port of 127.0.0.1 are programs of this user alone, and also where the
/// system does not say. False when nobody does: to be asked once a connection is there, so whoever took that
/// has hidden itself. Main thread, short.
using IsOurPort = std::function<bool(std::uint16_t port)>;

/// For a system that does not say.
inline bool everyPortIsOurs(std::uint16_t) {
    return true;
}

}  // namespace orvane
