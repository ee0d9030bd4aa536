// The main queue, the timers and the clock, as Foundation and libdispatch have them.
#pragma once

#include "platform/RunLoop.h"

namespace orvane {

/// Blocks are run while a menu or an alert tracks, too, but not from within another block: one that shows an
/// alert itself holds up the others.
class MacRunLoop : public RunLoop {
  public:
    void async(Block block) override;
    void asyncAfter(Duration delay, Block block) override;
    /// The timer goes on firing while a menu or an alert tracks.
    std::unique_ptr<Timer> scheduledTimer(Duration interval, Block block) override;
    std::unique_ptr<Watch> watchWritable(int descriptor, Block block) override;
};

class MacClock : public Clock {
  public:
    TimePoint now() const override;
    void sleep(Duration duration) override;
};

}  // namespace orvane
