// File descriptors put by for what must not be without any: some libraries hang or end the program when they
// get none.
#pragma once

#include "posix/Descriptor.h"

#include <cstddef>
#include <vector>

namespace orvane {

/// Main thread only.
class DescriptorReserve {
  public:
    /// How many are put by.
    static constexpr std::size_t size = 16;
    /// How many must be there after a release: what a window needs, and as many again.
    static constexpr std::size_t enough = 8;

    DescriptorReserve() { fill(); }

    /// Gives them to whoever asks for some next. False when less than enough are to be had even then.
    bool release();
    /// Puts them by again. Not where that would leave the rest of the program less than it puts by: the next
    /// call may.
    void fill();

  private:
    std::vector<Descriptor> held_;
};

}  // namespace orvane
