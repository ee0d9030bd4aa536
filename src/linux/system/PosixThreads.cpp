#include "linux/system/PosixThreads.h"

#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>

namespace orvane {

namespace {

constexpr std::size_t maxName = 15;  // pthread_setname_np(3), without the NUL.

// What the queue and its thread share; the thread keeps it alive after the queue has gone.
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

bool startThread(const std::string& name, Block body) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);  // Inherited by the new thread.
    std::thread thread;
    try {
        thread = std::thread([name = name.substr(0, maxName), body = std::move(body)]() mutable {
            ::pthread_setname_np(::pthread_self(), name.c_str());
            std::exchange(body, {})();
        });
    } catch (const std::system_error&) {  // The system has no thread to give.
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (!thread.joinable()) return false;
    thread.detach();
    return true;
}

class ThreadQueue : public SerialQueue {
  public:
    explicit ThreadQueue(const std::string& label) {
        startThread(label, [state = state_] {
            while (const Block block = state->next())
                block();
        });
    }

    ~ThreadQueue() override {
        std::deque<Block> dropped;  // Destroyed without the lock.
        const std::lock_guard lock(state_->mutex);
        state_->isClosed = true;
        dropped.swap(state_->blocks);
        state_->changed.notify_one();
    }

    void async(Block block) override {
        const std::lock_guard lock(state_->mutex);
        state_->blocks.push_back(std::move(block));
        state_->changed.notify_one();
    }

  private:
    const std::shared_ptr<QueueState> state_ = std::make_shared<QueueState>();
};

}  // namespace

std::unique_ptr<SerialQueue> PosixThreads::makeSerialQueue(const std::string& label) {
    return std::make_unique<ThreadQueue>(label);
}

bool PosixThreads::start(const std::string& name, Block body) {
    return startThread(name, std::move(body));
}

}  // namespace orvane
