// SIGTERM, SIGINT, SIGHUP and SIGQUIT as an orderly end of the program; and at its end by a fault the
// terminal as it was.
#pragma once

#include "posix/Descriptor.h"

#include <functional>
#include <memory>

class QSocketNotifier;

namespace orvane {

/// While it lives, each of the signals calls `quit` on the main thread, from the event loop. One that was
/// ignored when the program started stays ignored, as nohup(1) and a script's "&" want it; SIGTERM never is.
/// At most one in a program; made on the main thread.
class QuitSignals {
  public:
    explicit QuitSignals(std::function<void()> quit);
    ~QuitSignals();

  private:
    Descriptor readable_;
    Descriptor writable_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace orvane
