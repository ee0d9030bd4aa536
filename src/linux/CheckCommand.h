// The command --check: what the program needs, looked at without starting or changing anything.
#pragma once

#include "check/CheckReport.h"

namespace orvane {

/// Within three seconds, whatever hangs. Call it while there are no other threads. Those that wait for
/// something may be left: end the process without destroying anything.
CheckReport checkComputer();

}  // namespace orvane
