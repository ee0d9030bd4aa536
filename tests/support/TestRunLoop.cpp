#include "support/TestRunLoop.h"

#include <algorithm>

#include <poll.h>

namespace orvane::test {

class TestRunLoop::RepeatingTimer : public Timer {
  public:
    RepeatingTimer(TestRunLoop& loop, std::shared_ptr<Scheduled> scheduled)
        : loop_(loop), scheduled_(std::move(scheduled)) {}
    ~RepeatingTimer() override { RepeatingTimer::invalidate(); }
    void invalidate() override {
        std::erase_if(loop_.scheduled_, [this](const auto& entry) { return entry.second == scheduled_; });
        scheduled_->interval.reset();
    }

  private:
    TestRunLoop& loop_;
    std::shared_ptr<Scheduled> scheduled_;
};

class TestRunLoop::DescriptorWatch : public Watch {
  public:
    DescriptorWatch(TestRunLoop& loop, int watched, Block writable)
        : descriptor(watched), block(std::move(writable)), loop_(loop) {
        loop_.watched_.push_back(this);
    }
    ~DescriptorWatch() override { std::erase(loop_.watched_, this); }

    const int descriptor;
    const Block block;

  private:
    TestRunLoop& loop_;
};

void TestRunLoop::async(Block block) {
    {
        const std::lock_guard lock(mutex_);
        queue_.push_back(std::move(block));
    }
    arrived_.notify_all();
}

void TestRunLoop::asyncAfter(Duration delay, Block block) {
    schedule(now_ + delay, {std::move(block), std::nullopt});
}

std::unique_ptr<Timer> TestRunLoop::scheduledTimer(Duration interval, Block block) {
    const Key key = schedule(now_ + interval, {std::move(block), interval});
    return std::make_unique<RepeatingTimer>(*this, scheduled_.at(key));
}

std::unique_ptr<Watch> TestRunLoop::watchWritable(int descriptor, Block block) {
    return std::make_unique<DescriptorWatch>(*this, descriptor, std::move(block));
}

TestRunLoop::Key TestRunLoop::schedule(TimePoint when, Scheduled scheduled) {
    const Key key{when, sequence_++};
    scheduled_.emplace(key, std::make_shared<Scheduled>(std::move(scheduled)));
    return key;
}

void TestRunLoop::sleep(Duration duration) {
    now_ += duration;
}

bool TestRunLoop::runOne() {
    Block block;
    {
        const std::lock_guard lock(mutex_);
        if (queue_.empty()) return false;
        block = std::move(queue_.front());
        queue_.pop_front();
    }
    block();
    return true;
}

void TestRunLoop::runQueue() {
    while (runOne()) {
    }
}

void TestRunLoop::runWatches() {
    const auto before = watched_;
    for (const DescriptorWatch* watch : before) {
        if (std::ranges::find(watched_, watch) == watched_.end()) continue;  // Gone by another's block.
        pollfd entry{watch->descriptor, POLLOUT, 0};
        if (::poll(&entry, 1, 0) <= 0) continue;
        const Block block = watch->block;  // It may end its own watch.
        block();
    }
}

void TestRunLoop::runPending() {
    runQueue();
    runWatches();
    runQueue();
}

void TestRunLoop::advance(double seconds) {
    const TimePoint end = now_ + Duration(seconds);
    runPending();
    while (!scheduled_.empty() && scheduled_.begin()->first.first <= end) {
        const auto [key, entry] = *scheduled_.begin();
        scheduled_.erase(scheduled_.begin());
        now_ = std::max(now_, key.first);
        if (entry->interval) scheduled_.emplace(Key{key.first + *entry->interval, sequence_++}, entry);
        entry->block();
        runPending();
    }
    now_ = std::max(now_, end);
}

bool TestRunLoop::waitForBlock(double seconds) {
    {
        std::unique_lock lock(mutex_);
        if (!arrived_.wait_for(lock, Duration(seconds), [this] { return !queue_.empty(); })) return false;
    }
    runPending();
    return true;
}

std::size_t TestRunLoop::pendingCount() const {
    const std::lock_guard lock(mutex_);
    return queue_.size();
}

}  // namespace orvane::test
