// What this process holds of the system, for tests that nothing of it is left behind.
#pragma once

#include <cstddef>
#include <optional>

namespace orvane::test {

/// Open descriptors among the first few thousand. The lowest free number is given first, so what leaks is
/// there.
std::size_t openDescriptors();

/// Threads of this process; nothing where the system does not tell (a Linux without /proc).
std::optional<std::size_t> runningThreads();

}  // namespace orvane::test
