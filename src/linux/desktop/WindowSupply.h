// Whether a window may be opened. To show one takes some file descriptors, and without them Qt or the
// library below it waits for ever, or ends the program: so that is refused before, with a sentence.
#pragma once

#include "posix/DescriptorReserve.h"

#include <functional>
#include <string>

namespace orvane {

/// One in a program, whose windows share the reserve. Main thread only.
class WindowSupply {
  public:
    using Tell = std::function<void(const std::string& sentence)>;

    /// `tell` hears why a window is refused, each time.
    explicit WindowSupply(Tell tell) : tell_(std::move(tell)) {}

    /// Before a window is made: what it looks up then, fonts above all, takes descriptors, too.
    void lend() { reserve_.release(); }
    /// Before a window, a dialog or a menu of our own is shown. False: it must not be, and the user has been
    /// told.
    bool allows();
    /// After one has gone.
    void closed();

  private:
    Tell tell_;
    DescriptorReserve reserve_;
};

}  // namespace orvane
