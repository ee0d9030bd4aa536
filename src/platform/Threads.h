// Threads beside the main one: serial queues for work that blocks, and single named threads.
#pragma once

#include "platform/RunLoop.h"

#include <memory>
#include <string>

namespace orvane {

/// Runs blocks one after the other, in order, on a background thread. Destroying the queue drops what has not
/// begun and does not wait for the block that runs.
class SerialQueue {
  public:
    virtual ~SerialQueue() = default;
    /// Any thread; returns at once.
    virtual void async(Block block) = 0;
};

class Threads {
  public:
    virtual ~Threads() = default;
    virtual std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) = 0;
    /// Runs `body` on a new thread named `name` (a system may show only its first 15 bytes). The thread
    /// cleans up after itself when `body` returns; nobody waits for it. False when the system has no thread
    /// to give; `body` is then dropped.
    virtual bool start(const std::string& name, Block body) = 0;
};

}  // namespace orvane
