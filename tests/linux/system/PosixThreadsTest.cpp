#include "linux/EventLoop.h"
#include "linux/system/PosixThreads.h"
#include "support/OwnResources.h"

#include <future>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

std::string ownName() {
    char name[16] = {};
    ::pthread_getname_np(::pthread_self(), name, sizeof name);
    return name;
}

TEST(PosixThreadsTest, BlocksRunInOrderOnOneNamedThread) {
    PosixThreads threads;
    const auto queue = threads.makeSerialQueue("audio.orvane.adb");
    std::vector<int> order;
    std::vector<std::thread::id> ids;
    std::promise<std::string> end;
    for (int i = 0; i < 100; ++i)
        queue->async([&, i] {
            order.push_back(i);
            ids.push_back(std::this_thread::get_id());
        });
    queue->async([&] { end.set_value(ownName()); });
    EXPECT_EQ(end.get_future().get(), "audio.orvane.ad");
    EXPECT_TRUE(std::ranges::is_sorted(order));
    EXPECT_EQ(order.size(), 100U);
    EXPECT_THAT(ids, testing::Each(ids.front()));
    EXPECT_NE(ids.front(), std::this_thread::get_id());
}

TEST(PosixThreadsTest, DestroyingAQueueDropsWhatWaitsAndDoesNotWaitForWhatRuns) {
    PosixThreads threads;
    auto queue = threads.makeSerialQueue("busy");
    std::promise<void> begun;
    std::promise<void> mayEnd;
    auto ended = std::make_shared<std::promise<void>>();
    auto dropped = std::make_shared<int>(0);
    const std::weak_ptr<int> waiting = dropped;
    queue->async([&begun, &mayEnd, ended] {
        begun.set_value();
        mayEnd.get_future().wait();
        ended->set_value();
    });
    queue->async([dropped] { ++*dropped; });
    dropped.reset();
    begun.get_future().wait();
    queue.reset();
    EXPECT_TRUE(waiting.expired());
    mayEnd.set_value();
    EXPECT_EQ(ended->get_future().wait_for(5s), std::future_status::ready);
}

/// While it lives no thread can be had: none that has a stack of that size.
class NoThreads {
  public:
    NoThreads() {
        ::pthread_getattr_default_np(&before_);
        pthread_attr_t huge;
        ::pthread_attr_init(&huge);
        ::pthread_attr_setstacksize(&huge, std::size_t{1} << 46);
        ::pthread_setattr_default_np(&huge);
        ::pthread_attr_destroy(&huge);
    }
    ~NoThreads() {
        ::pthread_setattr_default_np(&before_);
        ::pthread_attr_destroy(&before_);
    }

  private:
    pthread_attr_t before_;
};

TEST(PosixThreadsTest, WithoutAThreadNothingIsStartedAndSaidSo) {
    PosixThreads threads;
    {
        const NoThreads none;
        EXPECT_FALSE(PosixThreads::areToBeHad(1));
        EXPECT_FALSE(threads.start("none", [] { ADD_FAILURE() << "it runs"; }));
    }
    EXPECT_TRUE(PosixThreads::areToBeHad(6));
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(::sigismember(&mask, SIGTERM), 0);
}

TEST(PosixThreadsTest, AQueueWithoutAThreadKeepsItsLastBlocksUntilItHasOne) {
    PosixThreads threads;
    std::vector<int> order;
    std::promise<void> end;
    std::unique_ptr<SerialQueue> queue;
    {
        const NoThreads none;
        queue = threads.makeSerialQueue("late");
        for (int i = 0; i < 20; ++i)
            queue->async([&, i] { order.push_back(i); });
    }
    queue->async([&] { end.set_value(); });
    ASSERT_EQ(end.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_THAT(order, testing::ElementsAre(12, 13, 14, 15, 16, 17, 18, 19));
}

TEST(PosixThreadsTest, DestroyedQueuesAndFinishedThreadsLeaveNoThread) {
    PosixThreads threads;
    const auto before = runningThreads();
    for (int i = 0; i < 50; ++i) {
        threads.makeSerialQueue("idle")->async([] {});
        threads.start("short", [] {});
    }
    EXPECT_TRUE(runUntil([&] { return runningThreads() <= before; }));
}

TEST(PosixThreadsTest, AStartedThreadHasItsNameAndLeavesSignalsToOthers) {
    PosixThreads threads;
    std::promise<std::string> name;
    std::promise<bool> isBlocked;
    threads.start("orvane.bt.local", [&] {
        sigset_t mask;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        name.set_value(ownName());
        isBlocked.set_value(::sigismember(&mask, SIGTERM) == 1 && ::sigismember(&mask, SIGINT) == 1);
    });
    EXPECT_EQ(name.get_future().get(), "orvane.bt.local");
    EXPECT_TRUE(isBlocked.get_future().get());
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(::sigismember(&mask, SIGTERM), 0);
}

}  // namespace

}  // namespace orvane::test
