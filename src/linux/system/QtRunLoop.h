// The main queue and the timers, carried by Qt's event loop.
#pragma once

#include "platform/RunLoop.h"

#include <deque>
#include <mutex>

class QSocketNotifier;

namespace orvane {

/// Made on the main thread once the Qt application exists, with `attach`. A wake-up descriptor is readable
/// for as long as blocks wait, so blocks take turns with everything else that the event loop watches, also
/// in the loop that runs inside a modal dialog. `async` may be called before and after the application's
/// life: such blocks wait, or are never run.
class QtRunLoop : public RunLoop {
  public:
    QtRunLoop();
    ~QtRunLoop() override;

    void attach();
    void detach();

    void async(Block block) override;
    void asyncAfter(Duration delay, Block block) override;
    std::unique_ptr<Timer> scheduledTimer(Duration interval, Block block) override;
    std::unique_ptr<Watch> watchWritable(int descriptor, Block block) override;

  private:
    void runSome();
    Block next();

    std::mutex mutex_;
    std::deque<Block> blocks_;
    int wakeUp_;
    bool awake_ = false;  ///< The descriptor is readable, or about to be.
    std::unique_ptr<QSocketNotifier> notifier_;
};

/// The clock by which the run loop's users tell time: beside it as `Clock` is beside `RunLoop`, though it
/// needs nothing of Qt.
class SteadyClock : public Clock {
  public:
    TimePoint now() const override;
    void sleep(Duration duration) override;
};

}  // namespace orvane
