// The command --check: what the program needs, looked at without starting anything.
#pragma once

namespace orvane {

/// Prints the report and returns the exit status: 0 when the main job can be done. Within three seconds,
/// whatever hangs. Threads that wait for something may be left: end the process without destroying anything.
int runCheck(bool asJson);

}  // namespace orvane
