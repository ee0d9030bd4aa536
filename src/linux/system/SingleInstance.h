// Keeps a second instance of the same user from running beside the first.
#pragma once

#include "posix/Descriptor.h"

#include <optional>
#include <string>

namespace orvane {

/// A lock held by the kernel, which ends with the process however that ends, and which children do not get:
/// flock(2) on a file in the user's runtime folder or, where there is none, a name in the abstract socket
/// namespace (unix(7)).
class SingleInstance {
  public:
    /// Nothing when another instance holds the lock. `runtimeFolder` may be empty.
    static std::optional<SingleInstance> acquire(const std::string& runtimeFolder);

  private:
    explicit SingleInstance(Descriptor lock) : lock_(std::move(lock)) {}

    Descriptor lock_;
};

}  // namespace orvane
