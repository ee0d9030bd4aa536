// The sound server and its devices, asked once. Any thread.
#pragma once

#include "platform/Inspection.h"

#include <chrono>

namespace orvane {

/// No server name when none answers within `patience`. No server is started.
SoundFacts soundFacts(std::chrono::milliseconds patience);

/// libpulse makes a cookie, and a folder for the socket of a server, where there are none. After this it does
/// not, in this process: it takes no cookie along, and looks for a server elsewhere. Sets variables of the
/// environment, so it is for a process without other threads.
void keepPulseFromMakingFiles();

}  // namespace orvane
