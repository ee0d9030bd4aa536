#include "macos/system/MacThreads.h"

#include "macos/system/Text.h"

#import <Foundation/Foundation.h>

#include <atomic>
#include <utility>

namespace orvane {

namespace {

class MacSerialQueue : public SerialQueue {
   public:
    explicit MacSerialQueue(const std::string& label)
        : queue_(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)) {}
    ~MacSerialQueue() override { *dropped_ = true; }

    void async(Block block) override {
        const auto dropped = dropped_;
        dispatch_async(queue_, ^{
          @autoreleasepool {
              if (!*dropped) block();
          }
        });
    }

   private:
    dispatch_queue_t queue_;
    /// The queue itself lives until it is empty; what is left in it then does nothing.
    std::shared_ptr<std::atomic<bool>> dropped_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace

std::unique_ptr<SerialQueue> MacThreads::makeSerialQueue(const std::string& label) {
    return std::make_unique<MacSerialQueue>(label);
}

bool MacThreads::start(const std::string& name, Block body) {
    NSThread* thread = [[NSThread alloc] initWithBlock:^{
      @autoreleasepool {
          body();
      }
    }];
    thread.name = toNSString(name);
    [thread start];
    return true;
}

}  // namespace orvane
