// What lies in a pipe at one moment. Another process may go on writing all the while: whoever reads until the
// pipe is empty is held for as long as that likes.
#pragma once

#include <cstddef>
#include <string>

namespace orvane {

/// How many bytes can be read without waiting; 0 also for what is no pipe.
std::size_t pendingBytes(int reading);
/// The bytes that are there at the moment of the call, and no more. What a child wrote before it exited is
/// among them. Never waits, as long as nobody else reads from the pipe.
std::string readPending(int reading);

}  // namespace orvane
