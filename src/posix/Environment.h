// The environment that the program was started with.
#pragma once

#include <cstdlib>
#include <string>

namespace orvane {

/// The value of a variable; empty when there is none. Variables are set before there are other threads, and
/// not after.
inline std::string environment(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
    return value ? value : "";
}

}  // namespace orvane
