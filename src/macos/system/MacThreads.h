// Dispatch queues and named threads.
#pragma once

#include "platform/Threads.h"

namespace orvane {

class MacThreads : public Threads {
  public:
    std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
    bool start(const std::string& name, Block body) override;
};

}  // namespace orvane
