// The sound server and its devices, asked once. Any thread.
#pragma once

#include "platform/Inspection.h"

#include <chrono>

namespace orvane {

/// No server name when none answers within `patience`. No server is started.
SoundFacts soundFacts(std::chrono::milliseconds patience);

}  // namespace orvane
