#include "posix/Deadline.h"
#include "posix/Descriptor.h"
#include "posix/SignalsBlocked.h"

#include <csignal>

#include <gtest/gtest.h>
#include <sys/time.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

struct TestPipe {
    TestPipe() {
        int ends[2];
        if (::pipe(ends) != 0) return;
        reading.reset(ends[0]);
        writing.reset(ends[1]);
    }
    Descriptor reading;
    Descriptor writing;
};

int interruptions = 0;

/// Sends SIGALRM every millisecond, to a handler that makes no call begin again.
class Interruptions {
  public:
    Interruptions() {
        interruptions = 0;
        struct sigaction action {};
        action.sa_handler = [](int) { ++interruptions; };
        ::sigaction(SIGALRM, &action, &before_);
        const itimerval every{{0, 1000}, {0, 1000}};
        ::setitimer(ITIMER_REAL, &every, nullptr);
    }
    ~Interruptions() {
        const itimerval never{};
        ::setitimer(ITIMER_REAL, &never, nullptr);
        ::sigaction(SIGALRM, &before_, nullptr);
    }

  private:
    struct sigaction before_ {};
};

TEST(DeadlineTest, RoundsWhatIsLeftUp) {
    const auto soon = Deadline::after(2ms);
    bool isOver = false;
    while (!isOver) {
        const int left = soon.milliseconds();
        isOver = soon.hasPassed();
        EXPECT_TRUE(isOver || left > 0);
    }
    EXPECT_GT(Deadline::after(10s).milliseconds(), 5'000);
    EXPECT_LE(Deadline::after(10s).milliseconds(), 10'000);
}

TEST(DeadlineTest, IsZeroOncePassed) {
    const auto passed = Deadline::after(-1s);
    EXPECT_TRUE(passed.hasPassed());
    EXPECT_EQ(passed.milliseconds(), 0);
    EXPECT_LE(passed.left(), -1s);
}

TEST(DeadlineTest, NeverPassesWhenItIsNever) {
    EXPECT_FALSE(Deadline::never().hasPassed());
    EXPECT_EQ(Deadline::never().milliseconds(), -1);
}

TEST(DeadlineTest, FitsAnIntegerHoweverFarItIs) {
    EXPECT_EQ(Deadline::after(24h * 365).milliseconds(), 3'600'000);
}

TEST(DeadlineTest, PollingFindsWhatIsThereAfterTheDeadline) {
    const TestPipe pipe;
    ASSERT_EQ(::write(pipe.writing.get(), "x", 1), 1);
    EXPECT_TRUE(pollUntil(pipe.reading.get(), POLLIN, Deadline::after(-1s)));
}

TEST(DeadlineTest, PollingGivesUpAtTheDeadline) {
    const TestPipe pipe;
    EXPECT_FALSE(pollUntil(pipe.reading.get(), POLLIN, Deadline::after(0s)));
}

TEST(DeadlineTest, PollingTellsTheEndOfTheStream) {
    TestPipe pipe;
    pipe.writing.reset();
    EXPECT_TRUE(pollUntil(pipe.reading.get(), POLLIN, Deadline::never()));
}

TEST(DeadlineTest, PollingTellsWhichSourceHasSomething) {
    const TestPipe pipe;
    pollfd sources[] = {{pipe.reading.get(), POLLIN, 0}, {pipe.writing.get(), POLLOUT, 0}};
    EXPECT_TRUE(pollUntil(sources, Deadline::never()));
    EXPECT_EQ(sources[0].revents, 0);
    EXPECT_EQ(sources[1].revents, POLLOUT);
}

TEST(DeadlineTest, SignalsDoNotEndPollingBeforeTheDeadline) {
    const TestPipe pipe;
    const auto deadline = Deadline::after(20ms);
    const Interruptions every;
    EXPECT_FALSE(pollUntil(pipe.reading.get(), POLLIN, deadline));
    EXPECT_TRUE(deadline.hasPassed());
    EXPECT_GT(interruptions, 0);
}

TEST(SignalsBlockedTest, KeepsSignalsUntilItsEndAndLeavesTheErrorAlone) {
    interruptions = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { ++interruptions; };
    struct sigaction before {};
    ::sigaction(SIGUSR1, &action, &before);
    {
        const SignalsBlocked blocked;
        ::raise(SIGUSR1);
        EXPECT_EQ(interruptions, 0);
        errno = ENOENT;
    }
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(interruptions, 1);
    ::sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace

}  // namespace orvane::test
