// Background threads that are none: a test says when their work is done. And real ones, for tests of what is
// shared between threads.
#pragma once

#include "platform/Threads.h"

#include <deque>
#include <string>
#include <vector>

namespace orvane::test {

/// Keeps the jobs of every queue, and the bodies of every thread, until the test runs them.
class TestThreads : public Threads {
  public:
    std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
    bool start(const std::string& name, Block body) override;

    /// Runs what waits in the queues, in order.
    void runQueued();
    std::size_t queuedCount() const { return jobs_->size(); }

    std::vector<std::string> queueLabels;
    bool hasThreads = true;                              ///< False: the system has no thread to give.
    std::vector<std::pair<std::string, Block>> started;  ///< Threads asked for: name and body.

  private:
    std::shared_ptr<std::deque<Block>> jobs_ = std::make_shared<std::deque<Block>>();
};

/// Real threads, all joined when this object goes.
class RealThreads : public Threads {
  public:
    RealThreads();
    ~RealThreads() override;
    std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;
    bool start(const std::string& name, Block body) override;

  private:
    struct Started;
    std::unique_ptr<Started> started_;
};

}  // namespace orvane::test
