// Threads by the C++ library, named by pthread_setname_np(3). All signals are left to the main thread.
#pragma once

#include "platform/Threads.h"

namespace orvane {

class PosixThreads : public Threads {
  public:
    /// The queue's thread lives as long as the queue, and then until its running block returns.
    std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
    bool start(const std::string& name, Block body) override;
};

}  // namespace orvane
