#include "linux/files/SingleInstance.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <future>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

TEST(SingleInstanceTest, ASecondOneOfTheSameUserIsToldSo) {
    const QTemporaryDir folder;
    const auto first = SingleInstance::acquire({folder.path().toStdString()});
    ASSERT_TRUE(first);
    EXPECT_FALSE(SingleInstance::acquire({folder.path().toStdString()}));
}

TEST(SingleInstanceTest, TheNextOneMayRunOnceTheFirstHasGone) {
    const QTemporaryDir folder;
    { const auto first = SingleInstance::acquire({folder.path().toStdString()}); }
    EXPECT_TRUE(SingleInstance::acquire({folder.path().toStdString()}));
}

TEST(SingleInstanceTest, ALockFileLeftBehindByACrashLocksNothing) {
    const QTemporaryDir folder;
    if (fork() == 0) {
        const auto first = SingleInstance::acquire({folder.path().toStdString()});
        kill(getpid(), SIGKILL);
    }
    wait(nullptr);
    EXPECT_TRUE(QFile::exists(folder.filePath("orvane.lock")));
    EXPECT_TRUE(SingleInstance::acquire({folder.path().toStdString()}));
}

TEST(SingleInstanceTest, AChildThatOutlivesTheProgramDoesNotKeepTheLock) {
    const QTemporaryDir folder;
    auto first = SingleInstance::acquire({folder.path().toStdString()});
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
    EXPECT_TRUE(SingleInstance::acquire({folder.path().toStdString()}));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST(SingleInstanceTest, AChildThatIsJustBeingStartedWhenTheProgramDiesHoldsTheNextOneUpForAMomentOnly) {
    const QTemporaryDir folder;
    auto first = SingleInstance::acquire({folder.path().toStdString()});
    const pid_t child = fork();
    if (child == 0) {
        usleep(50'000);
        execl("/bin/true", "true", nullptr);
        _exit(127);
    }
    first.reset();
    EXPECT_TRUE(SingleInstance::acquire({folder.path().toStdString()}));
    waitpid(child, nullptr, 0);
}

TEST(SingleInstanceTest, OneFolderInCommonIsEnough) {
    const QTemporaryDir runtime;
    const QTemporaryDir home;
    const auto inHome = home.path().toStdString();
    const auto first = SingleInstance::acquire({runtime.path().toStdString(), inHome});
    ASSERT_TRUE(first);
    EXPECT_FALSE(SingleInstance::acquire({inHome}));
    EXPECT_FALSE(SingleInstance::acquire({"/nonexistent", inHome}));
}

TEST(SingleInstanceTest, WorksWhereNoFolderCanBeUsed) {
    const auto first = SingleInstance::acquire({"/nonexistent"});
    ASSERT_TRUE(first) << "is an instance without a folder running on this machine?";
    EXPECT_FALSE(SingleInstance::acquire({}));
}

TEST(SingleInstanceTest, TheRunningOneAnswersACaller) {
    const QTemporaryDir folder;
    const std::vector<std::string> folders = {folder.path().toStdString()};
    const auto instance = SingleInstance::acquire(folders);
    ASSERT_TRUE(instance);
    ASSERT_EQ(instance->listeningSockets().size(), 1U);
    auto answer = std::async(std::launch::async, [&] { return callRunningInstance(folders); });
    pollfd source = {instance->listeningSockets().front(), POLLIN, 0};
    ASSERT_EQ(poll(&source, 1, 10'000), 1);
    SingleInstance::serve(source.fd, [] { return std::string("its window is in front now"); });
    const InstanceAnswer heard = answer.get();
    EXPECT_EQ(heard.text, "its window is in front now");
    EXPECT_EQ(heard.process, getpid());
}

TEST(SingleInstanceTest, ACallThatNobodyTakesIsNoAnswer) {
    const QTemporaryDir folder;
    EXPECT_EQ(callRunningInstance({folder.path().toStdString()}).process, 0);
}

TEST(SingleInstanceTest, AFolderWithALongNameTakesASocketToo) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QString(200, 'x'));
    QDir().mkpath(path);
    const auto instance = SingleInstance::acquire({path.toStdString()});
    ASSERT_TRUE(instance);
    EXPECT_EQ(instance->listeningSockets().size(), 1U);
}

}  // namespace
}  // namespace orvane::test
