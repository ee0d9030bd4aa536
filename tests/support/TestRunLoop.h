// A run loop whose time is virtual: nothing happens until a test lets time pass.
#pragma once

#include "platform/RunLoop.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace orvane::test {

/// The main queue, its timers and the clock in one. `async` may be called from any thread; everything else
/// belongs to the test's thread, but `now` and `sleep`, which may be used by whoever stands in for a
/// background thread.
class TestRunLoop : public RunLoop, public Clock {
  public:
    void async(Block block) override;
    void asyncAfter(Duration delay, Block block) override;
    std::unique_ptr<Timer> scheduledTimer(Duration interval, Block block) override;
    /// `runPending` looks at the descriptors, which are real, once.
    std::unique_ptr<Watch> watchWritable(int descriptor, Block block) override;
    TimePoint now() const override { return now_; }
    /// Time passes for everybody: what falls due is run when the test next runs the loop.
    void sleep(Duration duration) override;

    /// Runs what has been queued for the main thread by now, and what that queues, and what watches writable
    /// descriptors, without letting time pass.
    void runPending();
    /// Lets `seconds` pass, running everything that falls due, in order.
    void advance(double seconds);
    /// Waits in real time until a block arrives from another thread, then runs what is pending. False after
    /// `seconds` without one.
    bool waitForBlock(double seconds = 10);

    std::size_t pendingCount() const;
    std::size_t timerCount() const { return scheduled_.size(); }
    std::size_t watchCount() const { return watched_.size(); }

  private:
    class RepeatingTimer;
    class DescriptorWatch;
    struct Scheduled {
        Block block;
        std::optional<Duration> interval;
    };
    using Key = std::pair<TimePoint, std::uint64_t>;

    Key schedule(TimePoint when, Scheduled scheduled);
    bool runOne();
    void runQueue();
    void runWatches();

    TimePoint now_{};
    std::uint64_t sequence_ = 0;
    std::map<Key, std::shared_ptr<Scheduled>> scheduled_;
    std::vector<const DescriptorWatch*> watched_;
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<Block> queue_;
};

}  // namespace orvane::test
