// Children whose parent is killed, with real processes.
#include "macos/system/ChildGuard.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

pid_t forked(const std::function<void()>& body) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    body();
    ::_exit(0);
}

void ignoreRequestsToEnd() {
    std::signal(SIGTERM, SIG_IGN);
    while (true)
        ::pause();
}

/// Until the helper has read all that was written.
void waitUntilRead(int descriptor) {
    for (int waiting = 1; waiting > 0; std::this_thread::sleep_for(std::chrono::milliseconds(1)))
        ::ioctl(descriptor, FIONREAD, &waiting);
}

std::string contentOf(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

}  // namespace

TEST(ChildGuardTest, TheChildrenThatAreLeftDieWithTheProgram) {
    const pid_t stubborn = forked(ignoreRequestsToEnd);
    const pid_t forgotten = forked(ignoreRequestsToEnd);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::dprintf(ends[1], "+%d\n+%d\n-%d\n+0\n+-1\n", stubborn, forgotten, forgotten);
    const pid_t program = forked([&] {
        ::close(ends[0]);
        ignoreRequestsToEnd();
    });
    const pid_t helper = forked([&] {
        ::close(ends[1]);
        guardChildren(ends[0]);
    });
    ::close(ends[1]);
    waitUntilRead(ends[0]);
    ::close(ends[0]);

    ::kill(helper, SIGTERM);  // As everybody's at logout: it stays for what it has to do.
    ::kill(program, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(helper, &status, 0), helper);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(::waitpid(stubborn, &status, 0), stubborn);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_EQ(::waitpid(forgotten, &status, WNOHANG), 0);
    ::kill(forgotten, SIGKILL);
    ::waitpid(forgotten, &status, 0);
    ::waitpid(program, &status, 0);
}

TEST(ChildGuardTest, TheHelperHearsOfEachChildAndOfTheEnd) {
    char pattern[] = "/tmp/orvane-guard-XXXXXX";
    const std::filesystem::path folder = ::mkdtemp(pattern);
    const auto heard = folder / "heard";
    std::ofstream(folder / "helper") << "#!/bin/sh\n(echo $1; cat; echo end) >" << heard << ".part; mv "
                                     << heard << ".part " << heard << "\n";
    ::chmod((folder / "helper").c_str(), 0700);
    pid_t child = 0;
    {
        ChildGuard guard(folder / "helper");
        guard.watch(12);
        guard.watch(34);
        guard.forget(12);
        child = forked([] { ::execl("/bin/sleep", "sleep", "30", nullptr); });
    }
    for (int i = 0; i < 1000 && !std::filesystem::exists(heard); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(contentOf(heard), "--guard-children\n+12\n+34\n-12\nend\n");
    EXPECT_EQ(::waitpid(child, nullptr, WNOHANG), 0) << "the stream has ended although a child lives";
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    std::filesystem::remove_all(folder);
}

TEST(ChildGuardTest, WithoutAHelperNothingIsGuardedAndNothingFails) {
    std::signal(SIGPIPE, SIG_IGN);
    ChildGuard guard("/nowhere/at/all");
    guard.watch(12);
    guard.forget(12);
    std::signal(SIGPIPE, SIG_DFL);
}

}  // namespace orvane::test
