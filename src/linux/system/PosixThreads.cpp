#include "linux/system/PosixThreads.h"

#include "posix/NewThread.h"

#include <condition_variable>
#include <deque>
#include <latch>
#include <mutex>
#include <utility>
#include <vector>

#include <pthread.h>

namespace orvane {

namespace {

constexpr std::size_t maxName = 15;  // pthread_setname_np(3), without the NUL.
constexpr std::size_t maxUnserved = 8;

/// What the queue and its thread share; the thread keeps it alive after the queue has gone.
struct QueueState {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Block> blocks;
    bool isClosed = false;

    // The next block, waited for; an empty one when the queue has been closed.
    Block next() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isClosed || !blocks.empty(); });
        if (isClosed) return {};
        Block block = std::move(blocks.front());
        blocks.pop_front();
        return block;
    }
};

/// False when the system has no thread to spare.
bool startNamed(const std::string& name, Block body) {
    return startDetachedThread([name = name.substr(0, maxName), body = std::move(body)] {
        ::pthread_setname_np(::pthread_self(), name.c_str());
        body();
    });
}

class ThreadQueue : public SerialQueue {
  public:
    explicit ThreadQueue(std::string label) : label_(std::move(label)) { startServing(); }

    ~ThreadQueue() override {
        std::deque<Block> dropped;  // Destroyed without the lock.
        const std::lock_guard lock(state_->mutex);
        state_->isClosed = true;
        dropped.swap(state_->blocks);
        state_->changed.notify_one();
    }

    void async(Block block) override {
        const std::lock_guard lock(state_->mutex);
        if (!isServed_) startServing();
        if (!isServed_ && state_->blocks.size() == maxUnserved) state_->blocks.pop_front();
        state_->blocks.push_back(std::move(block));
        state_->changed.notify_one();
    }

  private:
    void startServing() {
        isServed_ = startNamed(label_, [state = state_] {
            while (const Block block = state->next())
                block();
        });
    }

    const std::string label_;
    bool isServed_ = false;
    const std::shared_ptr<QueueState> state_ = std::make_shared<QueueState>();
};

}  // namespace

bool PosixThreads::areToBeHad(int count) {
    std::latch isTriedOut(1);
    std::vector<pthread_t> threads;
    while (std::ssize(threads) < count) {
        const auto thread = startThread([&] { isTriedOut.wait(); });
        if (!thread) break;
        threads.push_back(*thread);
    }
    isTriedOut.count_down();
    for (const pthread_t thread : threads)
        ::pthread_join(thread, nullptr);
    return std::ssize(threads) == count;
}

std::unique_ptr<SerialQueue> PosixThreads::makeSerialQueue(const std::string& label) {
    return std::make_unique<ThreadQueue>(label);
}

bool PosixThreads::start(const std::string& name, Block body) {
    return startNamed(name, std::move(body));
}

}  // namespace orvane
