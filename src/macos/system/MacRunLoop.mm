#include "macos/system/MacRunLoop.h"

#import <Foundation/Foundation.h>

#include <fcntl.h>
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

class MacWatch : public Watch {
   public:
    MacWatch(int descriptor, Block block) {
        // A descriptor of its own: the source lets go of it later than the watch ends.
        const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
        source_ = dispatch_source_create(DISPATCH_SOURCE_TYPE_WRITE, static_cast<uintptr_t>(own), 0,
                                         dispatch_get_main_queue());
        dispatch_source_set_event_handler(source_, ^{
          const Block current = block;  // It may end the watch.
          current();
        });
        dispatch_source_set_cancel_handler(source_, ^{
          close(own);
        });
        dispatch_resume(source_);
    }
    ~MacWatch() override { dispatch_source_cancel(source_); }

   private:
    dispatch_source_t source_;
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
    // So that it fires while a menu is open, too.
    [NSRunLoop.mainRunLoop addTimer:timer forMode:NSRunLoopCommonModes];
    return std::make_unique<MacTimer>(timer);
}

std::unique_ptr<Watch> MacRunLoop::watchWritable(int descriptor, Block block) {
    return std::make_unique<MacWatch>(descriptor, std::move(block));
}

TimePoint MacClock::now() const { return std::chrono::steady_clock::now(); }

void MacClock::sleep(Duration duration) {
    usleep(static_cast<useconds_t>(std::chrono::duration_cast<std::chrono::microseconds>(duration).count()));
}

}  // namespace orvane
