// Tells, on the main loop, when a child has exited; so every child is reaped, also one that nobody asks about
// any more.
#pragma once

#include "linux/process/ChildProcess.h"
#include "linux/process/PosixPipe.h"
#include "posix/Deadline.h"

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace orvane {

/// Made on the main thread.
class ChildWatcher : public QObject {
  public:
    using Pipes = std::vector<std::shared_ptr<PosixPipe>>;

    /// Calls `exited` once, on the main thread, after `child` has exited. `pipes` carry what it prints; null
    /// ones count for nothing. Any thread.
    void watch(const std::shared_ptr<ChildProcess>& child, const Pipes& pipes,
               const std::function<void()>& exited);
    /// Only reaps `child` when it exits. Any thread.
    void reapLater(const std::shared_ptr<ChildProcess>& child);
    /// Asks the children that are watched to end, waits at most `grace` for all of them, and kills the rest.
    /// What they print meanwhile is read and dropped: a child that waits for room in its pipe would not hear
    /// the request.
    void endWatched(std::chrono::milliseconds grace);

  private:
    struct Watched {
        std::weak_ptr<ChildProcess> child;
        std::vector<std::weak_ptr<PosixPipe>> pipes;
    };
    struct Running {
        std::shared_ptr<ChildProcess> child;
        Pipes pipes;
    };

    std::vector<Running> running() const;
    static void waitForExit(const Running& running, Deadline deadline);
    void notify(const std::shared_ptr<ChildProcess>& child, const std::function<void()>& exited);
    void onMainThread(const std::function<void()>& block);

    std::vector<Watched> watched_;
};

}  // namespace orvane
