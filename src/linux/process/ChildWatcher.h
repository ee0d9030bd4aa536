// Tells, on the main loop, when a child has exited; so every child is reaped, also one that nobody asks about
// any more.
#pragma once

#include "linux/process/ChildProcess.h"

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace orvane {

/// Made on the main thread.
class ChildWatcher : public QObject {
  public:
    /// Calls `exited` once, on the main thread, after `child` has exited. Any thread.
    void watch(const std::shared_ptr<ChildProcess>& child, const std::function<void()>& exited);
    /// Only reaps `child` when it exits. Any thread.
    void reapLater(const std::shared_ptr<ChildProcess>& child);
    /// Asks the children that are watched to end, waits at most `grace` for all of them, and kills the rest.
    void endWatched(std::chrono::milliseconds grace);

  private:
    void notify(const std::shared_ptr<ChildProcess>& child, const std::function<void()>& exited);
    void onMainThread(const std::function<void()>& block);

    std::vector<std::weak_ptr<ChildProcess>> watched_;
};

}  // namespace orvane
