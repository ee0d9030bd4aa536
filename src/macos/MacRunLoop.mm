#include "macos/MacRunLoop.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#include <utility>

namespace orvane {

namespace {

class MacTimer : public Timer {
   public:
    explicit MacTimer(NSTimer* timer) : timer_(timer) {}
    ~MacTimer() override { [timer_ invalidate]; }
    void invalidate() override { [timer_ invalidate]; }

   private:
    NSTimer* timer_;
};

}  // namespace

void MacRunLoop::async(Block block) {
    dispatch_async(dispatch_get_main_queue(), ^{
      block();
    });
}

void MacRunLoop::asyncAfter(Duration delay, Block block) {
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(delay).count();
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), dispatch_get_main_queue(), ^{
      block();
    });
}

std::unique_ptr<Timer> MacRunLoop::scheduledTimer(Duration interval, Block block) {
    NSTimer* timer = [NSTimer scheduledTimerWithTimeInterval:interval.count()
                                                     repeats:YES
                                                       block:^(NSTimer*) {
                                                         block();
                                                       }];
    [NSRunLoop.mainRunLoop addTimer:timer forMode:NSRunLoopCommonModes];
    return std::make_unique<MacTimer>(timer);
}

TimePoint MacClock::now() const { return std::chrono::steady_clock::now(); }

void MacClock::sleep(Duration duration) {
    usleep(static_cast<useconds_t>(std::chrono::duration_cast<std::chrono::microseconds>(duration).count()));
}

}  // namespace orvane
