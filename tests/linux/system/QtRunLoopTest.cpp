#include "linux/EventLoop.h"
#include "linux/system/QtRunLoop.h"

#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <semaphore>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

struct QtRunLoopTest : testing::Test {
    QtRunLoopTest() { loop.attach(); }
    QtRunLoop loop;
};

TEST_F(QtRunLoopTest, BlocksRunInTheirOrderAndNeverAtOnce) {
    std::vector<int> order;
    for (int i = 1; i <= 3; ++i)
        loop.async([&order, i] { order.push_back(i); });
    EXPECT_TRUE(order.empty());
    runUntil([&] { return order.size() == 3; });
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_F(QtRunLoopTest, BlocksFromManyThreadsAllRunOnTheMainThreadEachThreadsInOrder) {
    constexpr int threads = 4;
    constexpr int each = 2000;
    std::vector<std::vector<int>> seen(threads);
    int elsewhere = 0;
    int total = 0;
    {
        const auto mainThread = std::this_thread::get_id();
        std::vector<std::thread> senders;
        for (int t = 0; t < threads; ++t) {
            senders.emplace_back([&, t] {
                for (int i = 0; i < each; ++i) {
                    loop.async([&, t, i] {
                        elsewhere += std::this_thread::get_id() != mainThread;
                        seen[static_cast<std::size_t>(t)].push_back(i);
                        ++total;
                    });
                }
            });
        }
        ASSERT_TRUE(runUntil([&] { return total == threads * each; }));
        for (auto& sender : senders)
            sender.join();
    }
    EXPECT_EQ(elsewhere, 0);
    for (const auto& ofThread : seen)
        EXPECT_TRUE(std::ranges::is_sorted(ofThread));
}

TEST_F(QtRunLoopTest, EachBlockIsRunWithoutAnotherToFollowIt) {
    constexpr int each = 1000;
    std::array<std::counting_semaphore<>, 2> ran{std::counting_semaphore(0), std::counting_semaphore(0)};
    int total = 0;
    std::vector<std::thread> senders;
    for (auto& own : ran) {
        senders.emplace_back([&] {
            bool wasRun = true;
            for (int i = 0; i < each && wasRun; ++i) {
                loop.async([&] {
                    ++total;
                    own.release();
                });
                wasRun = own.try_acquire_for(10s);
            }
        });
    }
    EXPECT_TRUE(runUntil([&] { return total == 2 * each; }));
    for (auto& sender : senders)
        sender.join();
}

TEST_F(QtRunLoopTest, AFloodOfBlocksLeavesTurnsForOtherEvents) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    bool heard = false;
    QSocketNotifier notifier(ends[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
        heard = true;
        notifier.setEnabled(false);
    });
    // Each block brings the next, as a server does that never stops to talk.
    std::function<void()> flood = [&] { loop.async(flood); };
    for (int i = 0; i < 100; ++i)
        loop.async(flood);
    EXPECT_TRUE(runUntil([&] { return heard; }, 2s));
    flood = [] {};
    close(ends[0]);
    close(ends[1]);
}

TEST_F(QtRunLoopTest, BlocksGoOnBeingRunWhileABlockWaitsInALoopOfItsOwn) {
    bool innerRan = false;
    bool done = false;
    loop.async([&] {
        runUntil([&] { return innerRan; }, 2s);
        done = true;
    });
    loop.async([&] { innerRan = true; });
    ASSERT_TRUE(runUntil([&] { return done; }));
    EXPECT_TRUE(innerRan);
}

TEST_F(QtRunLoopTest, ADelayedBlockRunsOnceAndNotBeforeItsTime) {
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::chrono::steady_clock::duration> runs;
    loop.asyncAfter(Duration(0.05), [&] { runs.push_back(std::chrono::steady_clock::now() - start); });
    runFor(150ms);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_GE(runs[0], 49ms);
}

TEST_F(QtRunLoopTest, ATimerRepeatsUntilItIsInvalidated) {
    int fired = 0;
    const auto timer = loop.scheduledTimer(Duration(0.01), [&] { ++fired; });
    ASSERT_TRUE(runUntil([&] { return fired == 3; }));
    timer->invalidate();
    runFor(50ms);
    EXPECT_EQ(fired, 3);
}

TEST_F(QtRunLoopTest, ATimerMayBeDestroyedByItsOwnBlock) {
    int fired = 0;
    std::unique_ptr<Timer> timer;
    timer = loop.scheduledTimer(Duration(0.01), [&] {
        ++fired;
        timer.reset();
    });
    runFor(60ms);
    EXPECT_EQ(fired, 1);
}

TEST_F(QtRunLoopTest, BlocksThatComeAfterTheEndAreNotRun) {
    bool ran = false;
    loop.detach();
    loop.async([&] { ran = true; });
    runFor(20ms);
    EXPECT_FALSE(ran);
}

TEST(SteadyClockTest, SleepsAtLeastAsLongAsAsked) {
    SteadyClock clock;
    const TimePoint before = clock.now();
    clock.sleep(Duration(0.02));
    EXPECT_GE((clock.now() - before).count(), 0.02);
}

}  // namespace

}  // namespace orvane::test
