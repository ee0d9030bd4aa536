#include "linux/system/SingleInstance.h"

#include <QFile>
#include <QTemporaryDir>
#include <csignal>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

TEST(SingleInstanceTest, ASecondOneOfTheSameUserIsToldSo) {
    const QTemporaryDir folder;
    const auto first = SingleInstance::acquire(folder.path().toStdString());
    ASSERT_TRUE(first);
    EXPECT_FALSE(SingleInstance::acquire(folder.path().toStdString()));
}

TEST(SingleInstanceTest, TheNextOneMayRunOnceTheFirstHasGone) {
    const QTemporaryDir folder;
    { const auto first = SingleInstance::acquire(folder.path().toStdString()); }
    EXPECT_TRUE(SingleInstance::acquire(folder.path().toStdString()));
}

TEST(SingleInstanceTest, ALockFileLeftBehindByACrashLocksNothing) {
    const QTemporaryDir folder;
    if (fork() == 0) {
        const auto first = SingleInstance::acquire(folder.path().toStdString());
        kill(getpid(), SIGKILL);
    }
    wait(nullptr);
    EXPECT_TRUE(QFile::exists(folder.filePath("orvane.lock")));
    EXPECT_TRUE(SingleInstance::acquire(folder.path().toStdString()));
}

TEST(SingleInstanceTest, AChildThatOutlivesTheProgramDoesNotKeepTheLock) {
    const QTemporaryDir folder;
    auto first = SingleInstance::acquire(folder.path().toStdString());
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sleep", "sleep", "60", nullptr);
        _exit(127);
    }
    const auto isSleep = [&] {
        QFile name("/proc/" + QString::number(child) + "/comm");
        return name.open(QFile::ReadOnly) && name.readAll() == "sleep\n";
    };
    while (!isSleep())
        usleep(1000);
    first.reset();
    EXPECT_TRUE(SingleInstance::acquire(folder.path().toStdString()));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST(SingleInstanceTest, AChildThatIsJustBeingStartedWhenTheProgramDiesHoldsTheNextOneUpForAMomentOnly) {
    const QTemporaryDir folder;
    auto first = SingleInstance::acquire(folder.path().toStdString());
    const pid_t child = fork();
    if (child == 0) {
        usleep(50'000);
        execl("/bin/true", "true", nullptr);
        _exit(127);
    }
    first.reset();
    EXPECT_TRUE(SingleInstance::acquire(folder.path().toStdString()));
    waitpid(child, nullptr, 0);
}

TEST(SingleInstanceTest, WorksWithoutARuntimeFolder) {
    for (const char* folder : {"", "/nonexistent"}) {
        const auto first = SingleInstance::acquire(folder);
        ASSERT_TRUE(first) << "is an instance without a runtime folder running on this machine?";
        EXPECT_FALSE(SingleInstance::acquire(folder));
    }
}

}  // namespace

}  // namespace orvane::test
