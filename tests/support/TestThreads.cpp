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

class ThreadQueue : public SerialQueue {
  public:
    ThreadQueue() : thread_([this] { run(); }) {}
    ~ThreadQueue() override {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        wake_.notify_one();
        if (thread_.get_id() == std::this_thread::get_id()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }
    void async(Block block) override {
        {
            const std::lock_guard lock(mutex_);
            jobs_.push_back(std::move(block));
        }
        wake_.notify_one();
    }

  private:
    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            wake_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
            if (ending_) return;
            {
                const Block job = std::move(jobs_.front());
                jobs_.pop_front();
                lock.unlock();
                job();
            }
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Block> jobs_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace

std::unique_ptr<SerialQueue> TestThreads::makeSerialQueue(const std::string& label) {
    queueLabels.push_back(label);
    return std::make_unique<HeldQueue>(jobs_);
}

void TestThreads::start(const std::string& name, Block body) {
    started.emplace_back(name, std::move(body));
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

std::unique_ptr<SerialQueue> RealThreads::makeSerialQueue(const std::string&) {
    return std::make_unique<ThreadQueue>();
}

void RealThreads::start(const std::string&, Block body) {
    const std::lock_guard lock(started_->mutex);
    started_->threads.emplace_back(std::move(body));
}

}  // namespace orvane::test
