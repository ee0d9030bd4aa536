#include "support/TestThreads.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace orvane::test {

namespace {

class HeldQueue : public SerialQueue {
  public:
    explicit HeldQueue(std::shared_ptr<std::deque<Block>> jobs) : jobs_(std::move(jobs)) {}
    void async(Block block) override { jobs_->push_back(std::move(block)); }

  private:
    std::shared_ptr<std::deque<Block>> jobs_;
};

/// The jobs of one queue; its thread shares them with it, because a job may drop the queue that runs it.
class Jobs {
  public:
    void push(Block block) {
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(std::move(block));
        }
        wake_.notify_one();
    }
    void end() {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        wake_.notify_one();
    }
    void run() {
        while (const Block job = next())
            job();
    }

  private:
    Block next() {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
        if (ending_) return {};
        Block job = std::move(waiting_.front());
        waiting_.pop_front();
        return job;
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Block> waiting_;
    bool ending_ = false;
};

class ThreadQueue : public SerialQueue {
  public:
    explicit ThreadQueue(std::shared_ptr<Jobs> jobs) : jobs_(std::move(jobs)) {}
    ~ThreadQueue() override { jobs_->end(); }
    void async(Block block) override { jobs_->push(std::move(block)); }

  private:
    std::shared_ptr<Jobs> jobs_;
};

}  // namespace

std::unique_ptr<SerialQueue> TestThreads::makeSerialQueue(const std::string& label) {
    queueLabels.push_back(label);
    return std::make_unique<HeldQueue>(jobs_);
}

bool TestThreads::start(const std::string& name, Block body) {
    if (hasThreads) started.emplace_back(name, std::move(body));
    return hasThreads;
}

void TestThreads::runQueued() {
    while (!jobs_->empty()) {
        const Block job = std::move(jobs_->front());
        jobs_->pop_front();
        job();
    }
}

struct RealThreads::Started {
    std::mutex mutex;
    std::vector<std::thread> threads;
};

RealThreads::RealThreads() : started_(std::make_unique<Started>()) {}

RealThreads::~RealThreads() {
    for (auto& thread : started_->threads)
        thread.join();
}

std::unique_ptr<SerialQueue> RealThreads::makeSerialQueue(const std::string& label) {
    auto jobs = std::make_shared<Jobs>();
    RealThreads::start(label, [jobs] { jobs->run(); });
    return std::make_unique<ThreadQueue>(jobs);
}

bool RealThreads::start(const std::string&, Block body) {
    const std::lock_guard lock(started_->mutex);
    started_->threads.emplace_back(std::move(body));
    return true;
}

}  // namespace orvane::test
