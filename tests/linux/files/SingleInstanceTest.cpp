#include "linux/Stranger.h"
#include "linux/files/SingleInstance.h"
#include "posix/Descriptor.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <future>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
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

/// A child that takes a moment to be started, and holds what its parent held until then.
pid_t forkSlowly() {
    const pid_t child = fork();
    if (child != 0) return child;
    usleep(20'000);
    execl("/bin/true", "true", nullptr);
    _exit(127);
}

TEST(SingleInstanceTest, AChildThatIsJustBeingStartedWhenTheProgramDiesHoldsTheNextOneUpForAMomentOnly) {
    const QTemporaryDir folder;
    bool acquired = false;
    for (int attempt = 0; attempt < 10 && !acquired;
         ++attempt) {  // A busy machine may hold the child up for longer.
        auto first = SingleInstance::acquire({folder.path().toStdString()});
        const pid_t child = forkSlowly();
        first.reset();
        acquired = SingleInstance::acquire({folder.path().toStdString()}).has_value();
        waitpid(child, nullptr, 0);
    }
    EXPECT_TRUE(acquired);
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

/// As an attacker prepares it: a lock file that everybody may open, and its lock held.
bool holdLock(const std::string& folder) {
    const std::string path = folder + "/orvane.lock";
    const int file = open(path.c_str(), O_RDWR | O_CREAT, 0666);
    return file >= 0 && fchmod(file, 0666) == 0 && flock(file, LOCK_EX | LOCK_NB) == 0;
}

TEST(SingleInstanceTest, ALockThatAnotherUserHoldsInASharedFolderKeepsNobodyOut) {
    if (!Stranger::canBePlayed()) GTEST_SKIP() << "only root can be another user, too";
    for (const mode_t mode : {0777U, 01777U}) {
        const QTemporaryDir shared;
        const QTemporaryDir own;
        const std::string sharedPath = shared.path().toStdString();
        ASSERT_EQ(chmod(sharedPath.c_str(), mode), 0);
        const Stranger stranger([&] { return holdLock(sharedPath); });
        ASSERT_TRUE(stranger.succeeded());
        const std::vector<std::string> folders = {sharedPath, own.path().toStdString()};
        const auto instance = SingleInstance::acquire(folders);
        ASSERT_TRUE(instance) << std::oct << mode;
        EXPECT_EQ(instance->listeningSockets().size(), 1U);
        EXPECT_FALSE(SingleInstance::acquire(folders)) << "the user's own folder still counts";
    }
}

TEST(SingleInstanceTest, AnotherUsersFolderIsNotTouchedAndKeepsNobodyOut) {
    if (!Stranger::canBePlayed()) GTEST_SKIP() << "only root can be another user, too";
    const QTemporaryDir foreign;
    const QTemporaryDir own;
    const std::string foreignPath = foreign.path().toStdString();
    ASSERT_EQ(chown(foreignPath.c_str(), strangersNumber, strangersNumber), 0);
    const Stranger stranger([&] { return holdLock(foreignPath); });
    ASSERT_TRUE(stranger.succeeded());
    const std::vector<std::string> folders = {foreignPath, own.path().toStdString()};
    EXPECT_TRUE(SingleInstance::acquire(folders));
    EXPECT_FALSE(QFile::exists(foreign.filePath("orvane.socket")));
    EXPECT_EQ(callRunningInstance({foreignPath}).process, 0) << "nobody else's program is asked";
}

TEST(SingleInstanceTest, WhatIsNoFileOfItsOwnIsNoLock) {
    const QTemporaryDir folder;
    const QTemporaryDir own;
    const std::string path = folder.filePath("orvane.lock").toStdString();
    const std::vector<std::string> folders = {folder.path().toStdString(), own.path().toStdString()};
    const auto places = [&] { return SingleInstance::acquire(folders)->listeningSockets().size(); };
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(places(), 1U);
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(symlink("/dev/null", path.c_str()), 0);
    EXPECT_EQ(places(), 1U);
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    EXPECT_EQ(places(), 1U);
}

TEST(SingleInstanceTest, NoNameIsTakenThatAnotherUserCouldTakeFirst) {
    const QTemporaryDir folder;
    const auto instance = SingleInstance::acquire({folder.path().toStdString()});
    ASSERT_TRUE(instance);
    QFile sockets("/proc/net/unix");
    ASSERT_TRUE(sockets.open(QFile::ReadOnly));
    EXPECT_FALSE(sockets.readAll().contains("@orvane")) << "in the abstract namespace, which has no owner";
}

TEST(SingleInstanceTest, AnInstanceThatTakesNoCallersHoldsALaterOneUpForSecondsOnly) {
    const QTemporaryDir folder;
    const std::vector<std::string> folders = {folder.path().toStdString()};
    const auto instance = SingleInstance::acquire(folders);
    ASSERT_TRUE(instance);
    std::vector<std::future<InstanceAnswer>> answers;
    for (int caller = 0; caller < 12; ++caller)  // More than wait in the queue.
        answers.push_back(std::async(std::launch::async, [&] { return callRunningInstance(folders); }));
    for (auto& answer : answers)
        EXPECT_EQ(answer.wait_for(std::chrono::seconds(12)), std::future_status::ready);
}

}  // namespace
}  // namespace orvane::test
