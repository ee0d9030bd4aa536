#include "linux/EventLoop.h"
#include "linux/system/QuitSignals.h"

#include <csignal>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

TEST(QuitSignalsTest, EachOfThemAsksToQuitFromTheEventLoop) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(number, SIG_DFL);
        int quits = 0;
        const QuitSignals watched([&] { ++quits; });
        raise(number);
        EXPECT_EQ(quits, 0);
        EXPECT_TRUE(runUntil([&] { return quits == 1; }, 2s)) << number;
    }
}

TEST(QuitSignalsTest, AreHeardThoughTheProgramWasStartedWithThemBlocked) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    int quits = 0;
    const QuitSignals watched([&] { ++quits; });
    raise(SIGTERM);
    EXPECT_TRUE(runUntil([&] { return quits == 1; }, 2s));
}

TEST(QuitSignalsTest, AHangUpThatIsIgnoredStaysSo) {
    std::signal(SIGHUP, SIG_IGN);
    int quits = 0;
    {
        const QuitSignals watched([&] { ++quits; });
        raise(SIGHUP);
        runFor(30ms);
    }
    std::signal(SIGHUP, SIG_DFL);
    EXPECT_EQ(quits, 0);
}

}  // namespace

}  // namespace orvane::test
