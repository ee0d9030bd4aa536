#include "linux/system/PosixThreads.h"

#include "posix/SignalsBlocked.h"

#include <condition_variable>
#include <deque>
#include <latch>
#include <mutex>
#include <system_error>
#include <thread>
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

/// False when the system has no thread to spare, which the library says by an exception.
bool startThread(const std::string& name, Block body) try {
    const SignalsBlocked inherited;
    std::thread thread([name = name.substr(0, maxName), body = std::move(body)]() mutable {
        ::pthread_setname_np(::pthread_self(), name.c_str());
        std::exchange(body, {})();
    });
    thread.detach();
    return true;
} catch (const std::system_error&) {
    return false;
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
        isServed_ = startThread(label_, [state = state_] {
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
    std::vector<std::jthread> threads;
    const SignalsBlocked inherited;
    try {
        for (int i = 0; i < count; ++i)
            threads.emplace_back([&] { isTriedOut.wait(); });
    } catch (const std::system_error&) {
    }
    isTriedOut.count_down();
    return static_cast<int>(threads.size()) == count;
}

std::unique_ptr<SerialQueue> PosixThreads::makeSerialQueue(const std::string& label) {
    return std::make_unique<ThreadQueue>(label);
}

bool PosixThreads::start(const std::string& name, Block body) {
    return startThread(name, std::move(body));
}

}  // namespace orvane
