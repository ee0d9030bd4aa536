// One running copy for each user. The lock is the kernel's: it ends with its holder, however that ends.
#pragma once

#include "posix/Descriptor.h"

#include <string>

namespace orvane {

class InstanceLock {
  public:
    /// Tries to be the one that holds the lock on the file at `path`, which is made if need be.
    explicit InstanceLock(const std::string& path);

    /// True also when the file cannot be made: two copies are better than none.
    bool isFirst() const { return first_; }

  private:
    Descriptor file_;
    bool first_ = true;
};

}  // namespace orvane
