// Threads of POSIX, named by pthread_setname_np(3). All signals are left to the main thread.
#pragma once

#include "platform/Threads.h"

namespace orvane {

class PosixThreads : public Threads {
  public:
    /// Whether the system has that many threads to spare for us, tried out. Libraries that need one and get
    /// none may hang.
    static bool areToBeHad(int count);

    /// The queue's thread lives as long as the queue, and then until its running block returns. Where the
    /// system has no thread to spare the queue tries again with each block; meanwhile the last eight wait.
    std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
    bool start(const std::string& name, Block body) override;
};

}  // namespace orvane
