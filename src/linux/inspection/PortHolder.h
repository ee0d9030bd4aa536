// Who listens on a TCP port of this computer, as /proc tells (proc(5)). Any thread.
#pragma once

#include "platform/Inspection.h"

#include <cstdint>
#include <optional>

namespace orvane {

/// Of a holder that belongs to another user no more than that user may be known.
std::optional<PortFacts> holderOfPort(std::uint16_t port);

}  // namespace orvane
