#include "linux/EventLoop.h"
#include "linux/system/QuitSignals.h"
#include "posix/TerminalMode.h"

#include <csignal>
#include <cstdlib>

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

TEST(QuitSignalsTest, EachOfThemAsksToQuitFromTheEventLoop) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
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

TEST(QuitSignalsTest, OneThatIsIgnoredStaysSo) {
    for (const int number : {SIGHUP, SIGINT, SIGQUIT}) {
        std::signal(number, SIG_IGN);
        int quits = 0;
        {
            const QuitSignals watched([&] { ++quits; });
            raise(number);
            runFor(30ms);
        }
        std::signal(number, SIG_DFL);
        EXPECT_EQ(quits, 0);
    }
}

TEST(QuitSignalsTest, AtAFaultTheTerminalGetsItsModeBack) {
    int screen = -1;
    int terminal = -1;
    ASSERT_EQ(openpty(&screen, &terminal, nullptr, nullptr, nullptr), 0);
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        ioctl(terminal, TIOCSCTTY, 0);
        termios mode = {};
        tcgetattr(terminal, &mode);
        rememberTerminalMode(terminal, mode);
        mode.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(terminal, TCSANOW, &mode);
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        std::signal(SIGABRT, SIG_DFL);
        const QuitSignals watched([] {});
        std::abort();
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    termios mode = {};
    tcgetattr(terminal, &mode);
    EXPECT_NE(mode.c_lflag & ECHO, 0U);
    close(terminal);
    close(screen);
}

}  // namespace

}  // namespace orvane::test
