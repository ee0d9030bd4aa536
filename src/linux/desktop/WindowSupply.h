// Whether a window may be opened. To show one takes some file descriptors, and without them Qt or the
// library below it waits for ever, or ends the program: so that is refused before, with a sentence. What all
// windows need and a tray does not is there from the first one on.
#pragma once

#include "posix/DescriptorReserve.h"

#include <functional>
#include <string>

namespace orvane {

/// One in a program, whose windows share the reserve. Made before there is a second thread, since the kernel
/// enlarges the descriptors' table at once only then, and else takes milliseconds over it. Main thread only.
class WindowSupply {
  public:
    using Tell = std::function<void(const std::string& sentence)>;

    /// `tell` hears why a window is refused, each time. `equip` is called once, before the first window.
    explicit WindowSupply(Tell tell, std::function<void()> equip = {})
        : tell_(std::move(tell)), equip_(std::move(equip)) {}

    /// Before a window is made: what it looks up then, fonts above all, takes descriptors, too. False when
    /// there are not enough.
    bool lend();
    /// Before a window, a dialog or a menu of our own is shown. False: it must not be, and the user has been
    /// told.
    bool allows();
    /// After one has gone.
    void closed();

  private:
    Tell tell_;
    std::function<void()> equip_;  ///< Empty once it has been called.
    DescriptorReserve reserve_;
};

}  // namespace orvane
