// SIGTERM, SIGINT and SIGHUP as an orderly end of the program.
#pragma once

#include "posix/Descriptor.h"

#include <functional>
#include <memory>

class QSocketNotifier;

namespace orvane {

/// While it lives, each of the signals calls `quit` on the main thread, from the event loop. A SIGHUP that
/// was ignored when the program started (nohup(1)) stays ignored. At most one in a program; made on the main
/// thread.
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
