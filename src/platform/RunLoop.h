// The main queue and the clock: how the core gets work done later, on the main thread, and knows what time it
// is.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace orvane {

using Duration = std::chrono::duration<double>;  ///< Seconds.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
using Block = std::function<void()>;

/// A repeating timer on the main run loop. It fires until `invalidate` or its destruction, whichever comes
/// first. Main thread only.
class Timer {
  public:
    virtual ~Timer() = default;
    virtual void invalidate() = 0;
};

/// Watches a descriptor until its destruction, which its own block may bring about. Main thread only.
class Watch {
  public:
    virtual ~Watch() = default;
};

/// The main run loop with its queue. Blocks run on the main thread, one at a time, in the order submitted.
class RunLoop {
  public:
    virtual ~RunLoop() = default;

    /// Runs `block` on the main thread, later: never from within this call. Any thread.
    virtual void async(Block block) = 0;
    /// Runs `block` once on the main thread after `delay`. Main thread only.
    virtual void asyncAfter(Duration delay, Block block) = 0;
    /// Runs `block` on the main thread every `interval`, first after one interval. The caller owns the timer.
    /// Main thread only.
    virtual std::unique_ptr<Timer> scheduledTimer(Duration interval, Block block) = 0;
    /// Runs `block` on the main thread, again and again, while `descriptor` (a socket) takes bytes, is done
    /// with connecting, or has an error to tell. The descriptor outlives the watch, which the caller owns.
    /// Main thread only.
    virtual std::unique_ptr<Watch> watchWritable(int descriptor, Block block) = 0;
};

/// A clock that never goes back. Any thread.
class Clock {
  public:
    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;
    /// Blocks the calling thread for `duration`.
    virtual void sleep(Duration duration) = 0;
};

}  // namespace orvane
