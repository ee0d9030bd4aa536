#include "linux/EventLoop.h"
#include "linux/files/AtomicWrite.h"
#include "linux/files/PosixFileManager.h"
#include "support/RecordedApplication.h"

#include <QTemporaryDir>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;

std::string contents(const fs::path& path) {
    std::ifstream stream(path);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

class PosixFileManagerTest : public testing::Test {
  protected:
    QTemporaryDir folder;
    RecordedSystemLog log;
    PosixFileManager files{log};

    std::string path(const std::string& name) const { return folder.path().toStdString() + "/" + name; }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(folder.path().toStdString()))
            all.push_back(entry.path().filename());
        std::ranges::sort(all);
        return all;
    }
};

TEST_F(PosixFileManagerTest, AFileIsMadeAndReplacedWithoutLeavingAnything) {
    EXPECT_TRUE(files.writeAtomically(path("device"), "uid=\nchannel=0\n"));
    EXPECT_EQ(contents(path("device")), "uid=\nchannel=0\n");
    EXPECT_TRUE(files.writeAtomically(path("device"), "short"));
    EXPECT_EQ(contents(path("device")), "short");
    EXPECT_TRUE(files.writeAtomically(path("device"), ""));
    EXPECT_EQ(contents(path("device")), "");
    EXPECT_THAT(names(), ElementsAre("device"));
}

TEST_F(PosixFileManagerTest, TheFileIsReplacedAndNotRewritten) {
    ASSERT_TRUE(files.writeAtomically(path("device"), "old"));
    std::ifstream reader(path("device"));
    ASSERT_TRUE(files.writeAtomically(path("device"), "new"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(PosixFileManagerTest, NewFilesAndFoldersAreTheUsersAloneWhateverTheUmask) {
    const auto modeOf = [](const std::string& name) {
        struct stat status = {};
        ::stat(name.c_str(), &status);
        return status.st_mode & 07777;
    };
    const mode_t before = ::umask(0);
    EXPECT_TRUE(files.createDirectory(path("a/b")));
    EXPECT_TRUE(files.writeAtomically(path("a/device"), "x"));
    EXPECT_EQ(replaceFileByNamed(path("a/named"), "x"), 0);
    ::umask(before);
    EXPECT_EQ(modeOf(path("a")), 0700U);
    EXPECT_EQ(modeOf(path("a/b")), 0700U);
    EXPECT_EQ(modeOf(path("a/device")), 0600U);
    EXPECT_EQ(modeOf(path("a/named")), 0600U);

    ::chmod(path("a/device").c_str(), 0646);
    ::chmod(path("a/named").c_str(), 0640);
    EXPECT_TRUE(files.writeAtomically(path("a/device"), "y"));
    EXPECT_EQ(replaceFileByNamed(path("a/named"), "y"), 0);
    EXPECT_EQ(modeOf(path("a/device")), 0644U);
    EXPECT_EQ(modeOf(path("a/named")), 0640U);
}

TEST_F(PosixFileManagerTest, AFolderThatEverybodyMayWriteIntoIsClosedAndThatIsTold) {
    ASSERT_TRUE(files.createDirectory(path("a")));
    ::chmod(path("a").c_str(), 0755);
    EXPECT_TRUE(files.createDirectory(path("a")));
    EXPECT_THAT(log.lines, IsEmpty());
    ::chmod(path("a").c_str(), 0777);
    EXPECT_TRUE(files.createDirectory(path("a")));
    struct stat status = {};
    ASSERT_EQ(::stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0775U);
    EXPECT_THAT(log.lines,
                ElementsAre("Orvane: " + path("a") + " was open to everybody's writing; not any more"));
}

TEST_F(PosixFileManagerTest, WhatEverybodyMayWriteToIsClosedAndTold) {
    ASSERT_TRUE(files.createDirectory(path("a")));
    for (const char* name : {"a/device", "a/pairing", "a/own"})
        std::ofstream(path(name)) << "x";
    std::ofstream(path("elsewhere")) << "x";
    fs::create_symlink(path("elsewhere"), path("a/link"));
    ::chmod(path("a/device").c_str(), 0666);
    ::chmod(path("a/pairing").c_str(), 0622);
    ::chmod(path("a/own").c_str(), 0664);
    ::chmod(path("elsewhere").c_str(), 0666);
    ::chmod(path("a").c_str(), 01777);
    files.closeToOthers(path("a"));
    const auto modeOf = [this](const std::string& name) {
        struct stat status = {};
        ::stat(path(name).c_str(), &status);
        return status.st_mode & 07777;
    };
    EXPECT_EQ(modeOf("a"), 01775U);
    EXPECT_EQ(modeOf("a/device"), 0664U);
    EXPECT_EQ(modeOf("a/pairing"), 0620U);
    EXPECT_EQ(modeOf("a/own"), 0664U);
    EXPECT_EQ(modeOf("elsewhere"), 0666U) << "what a link leads to is not asked about";
    const auto told = [this](const std::string& name) {
        return "Orvane: " + path(name) + " was open to everybody's writing; not any more";
    };
    EXPECT_THAT(log.lines, testing::UnorderedElementsAre(told("a"), told("a/device"), told("a/pairing")));

    log.lines.clear();
    files.closeToOthers(path("a"));
    files.closeToOthers(path("nowhere"));
    EXPECT_THAT(log.lines, IsEmpty());
    ::chmod(path("a/device").c_str(), 0666);
    EXPECT_TRUE(files.writeAtomically(path("a/device"), "y"));
    EXPECT_EQ(modeOf("a/device"), 0664U);
    EXPECT_THAT(log.lines, ElementsAre(told("a/device")));
}

TEST_F(PosixFileManagerTest, AFolderToWhichALinkLeadsIsClosedToo) {
    fs::create_directory(path("real"));
    fs::create_directory_symlink(path("real"), path("link"));
    for (const bool atStart : {true, false}) {
        ::chmod(path("real").c_str(), 0777);
        if (atStart)
            files.closeToOthers(path("link"));
        else
            files.createDirectory(path("link"));
        struct stat status = {};
        ASSERT_EQ(::stat(path("real").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0775U);
    }
    EXPECT_THAT(log.lines, testing::SizeIs(2));
}

TEST_F(PosixFileManagerTest, WhatBelongsToAnotherUserIsLeftAlone) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    std::ofstream(path("device")) << "x";
    ::chmod(path("device").c_str(), 0666);
    ASSERT_EQ(::chown(path("device").c_str(), 54321, 54321), 0);
    files.closeToOthers(folder.path().toStdString());
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(PosixFileManagerTest, AReaderAsFastAsItCanSeesWholeFilesOnly) {
    const std::string one(70'000, '1');
    const std::string two(50'000, '2');
    ASSERT_TRUE(files.writeAtomically(path("device"), one));
    std::atomic<bool> isOver = false;
    std::atomic<int> torn = 0;
    std::thread reader([&] {
        while (!isOver) {
            const std::string seen = contents(path("device"));
            if (seen != one && seen != two) ++torn;
        }
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_TRUE(files.writeAtomically(path("device"), i % 2 ? one : two));
    isOver = true;
    reader.join();
    EXPECT_EQ(torn, 0);
}

TEST_F(PosixFileManagerTest, AKillAtAnyMomentLeavesAWholeFileAndNothingThatTheNextWriteDoesNotTakeAway) {
    ASSERT_TRUE(files.writeAtomically(path("device"), std::string(5000, 'a')));
    for (int i = 0; i < 150; ++i) {
        const pid_t writer = ::fork();
        if (writer == 0) {
            ::setpgid(0, 0);
            ::execl(ORVANE_WRITING_PROGRAM, "write_for_ever", path("device").c_str(), nullptr);
            ::_exit(127);
        }
        ::setpgid(writer, writer);
        std::this_thread::sleep_for(std::chrono::microseconds(3000 + i * 37));
        ::kill(-writer, SIGKILL);  // The whole group, as a terminal's end may do it.
        ::waitpid(writer, nullptr, 0);
        ASSERT_THAT(contents(path("device")), AnyOf(std::string(5000, 'a'), std::string(5000, 'b')));
        ASSERT_THAT(names(), AnyOf(ElementsAre("device"), ElementsAre(".device.new", "device")));
    }
    EXPECT_TRUE(files.writeAtomically(path("device"), "text"));
    EXPECT_THAT(names(), ElementsAre("device"));
}

TEST_F(PosixFileManagerTest, WhatAnEarlierRunLeftIsTakenAwayByTheNextWrite) {
    std::ofstream(path(".device.new")) << "left by a machine that stopped";
    EXPECT_TRUE(files.writeAtomically(path("device"), "text"));
    EXPECT_EQ(contents(path("device")), "text");
    EXPECT_THAT(names(), ElementsAre("device"));
}

TEST_F(PosixFileManagerTest, AFolderUnderThePassingNameBlocksNothing) {
    fs::create_directories(path(".device.new/inside"));
    EXPECT_TRUE(files.writeAtomically(path("device"), "text"));
    EXPECT_EQ(contents(path("device")), "text");
    EXPECT_EQ(replaceFileByNamed(path("device"), "named"), 0);
    EXPECT_EQ(contents(path("device")), "named");
    EXPECT_THAT(names(), ElementsAre(".device.new", "device"));
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(PosixFileManagerTest, NoProcessIsNeededToWrite) {
    const auto children = [] {
        rusage usage = {};
        ::getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_minflt;
    };
    const long before = children();
    EXPECT_TRUE(files.writeAtomically(path("device"), "text"));
    EXPECT_EQ(children(), before);
}

TEST_F(PosixFileManagerTest, WhatFailsIsToldToTheSystemsLogWithTheReason) {
    EXPECT_FALSE(files.writeAtomically(path("nowhere/device"), "text"));
    fs::create_directories(path("folder/inside"));
    EXPECT_FALSE(files.removeItem(path("folder")));
    EXPECT_FALSE(files.removeItem(path("missing")));
    std::ofstream(path("file")) << "x";
    EXPECT_FALSE(files.createDirectory(path("file/below")));
    EXPECT_THAT(
        log.lines,
        ElementsAre("Orvane: " + path("nowhere/device") + " could not be written: No such file or directory",
                    "Orvane: " + path("folder") + " could not be removed: Directory not empty",
                    "Orvane: " + path("file/below") + " could not be made: Not a directory"));
}

TEST_F(PosixFileManagerTest, AFullDiskLeavesTheOldFileAndNothingElse) {
    if (::mount("none", folder.path().toStdString().c_str(), "tmpfs", 0, "size=16k") != 0)
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_TRUE(files.writeAtomically(path("device"), "old"));
    EXPECT_FALSE(files.writeAtomically(path("device"), std::string(50'000, 'x')));
    EXPECT_EQ(replaceFileByNamed(path("device"), std::string(50'000, 'x')), ENOSPC);
    EXPECT_EQ(contents(path("device")), "old");
    EXPECT_THAT(names(), ElementsAre("device"));
    EXPECT_THAT(log.lines, ElementsAre(testing::HasSubstr("No space left on device")));
    ::umount2(folder.path().toStdString().c_str(), MNT_DETACH);
}

TEST_F(PosixFileManagerTest, AFolderInThePlaceOfTheFileIsAnErrorAndStays) {
    fs::create_directories(path("device/inside"));
    EXPECT_FALSE(files.writeAtomically(path("device"), "text"));
    EXPECT_TRUE(fs::is_directory(path("device/inside")));
    EXPECT_THAT(names(), ElementsAre("device"));
}

TEST_F(PosixFileManagerTest, ALinkIsReplacedAndWhatItLeadsToStays) {
    std::ofstream(path("precious")) << "precious";
    fs::create_symlink(path("precious"), path("device"));
    EXPECT_TRUE(files.writeAtomically(path("device"), "text"));
    EXPECT_FALSE(fs::is_symlink(path("device")));
    EXPECT_EQ(contents(path("device")), "text");
    EXPECT_EQ(contents(path("precious")), "precious");
}

TEST_F(PosixFileManagerTest, WithoutAFolderNothingIsWritten) {
    EXPECT_FALSE(files.writeAtomically(path("nowhere/device"), "text"));
    EXPECT_FALSE(files.writeAtomically("", "text"));
    EXPECT_FALSE(files.writeAtomically("/proc/device", "text"));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(PosixFileManagerTest, AFilesystemThatKnowsNoNamelessFilesServesToo) {
    std::ofstream(path(".device.new")) << "left";
    EXPECT_EQ(replaceFileByNamed(path("device"), "one"), 0);
    EXPECT_EQ(replaceFileByNamed(path("device"), "two"), 0);
    EXPECT_EQ(contents(path("device")), "two");
    EXPECT_THAT(names(), ElementsAre("device"));
    fs::create_directories(path("folder/inside"));
    EXPECT_EQ(replaceFileByNamed(path("folder"), "text"), EISDIR);
    EXPECT_EQ(replaceFileByNamed(path("nowhere/device"), "text"), ENOENT);
    EXPECT_THAT(names(), ElementsAre("device", "folder"));
}

TEST_F(PosixFileManagerTest, FoldersAreMadeWithThoseAboveThem) {
    const std::string settings = path("Library/Application Support/Orvane");
    EXPECT_TRUE(files.createDirectory(settings));
    EXPECT_TRUE(files.createDirectory(settings));
    EXPECT_TRUE(fs::is_directory(settings));
    std::ofstream(path("file")) << "x";
    EXPECT_FALSE(files.createDirectory(path("file")));
    EXPECT_FALSE(files.createDirectory(path("file/below")));
}

TEST_F(PosixFileManagerTest, ItemsAreRemovedButNeverWhatALinkLeadsTo) {
    std::ofstream(path("pairing")) << "x";
    fs::create_symlink(path("pairing"), path("link"));
    EXPECT_TRUE(files.removeItem(path("link")));
    EXPECT_THAT(names(), ElementsAre("pairing"));
    EXPECT_TRUE(files.removeItem(path("pairing")));
    EXPECT_FALSE(files.removeItem(path("pairing")));
    fs::create_directories(path("folder/inside"));
    EXPECT_FALSE(files.removeItem(path("folder")));
    EXPECT_TRUE(fs::is_directory(path("folder/inside")));
}

TEST_F(PosixFileManagerTest, AnExecutableFileIsAFileOrALinkToOneThatMayBeExecuted) {
    std::ofstream(path("adb")) << "#!/bin/sh\n";
    EXPECT_FALSE(files.isExecutableFile(path("adb")));
    ::chmod(path("adb").c_str(), 0755);
    EXPECT_TRUE(files.isExecutableFile(path("adb")));
    fs::create_symlink("adb", path("link"));
    EXPECT_TRUE(files.isExecutableFile(path("link")));
    fs::create_symlink("nowhere", path("dangling"));
    EXPECT_FALSE(files.isExecutableFile(path("dangling")));
    EXPECT_FALSE(files.isExecutableFile(path(".")));
    EXPECT_FALSE(files.isExecutableFile(path("missing")));
    EXPECT_FALSE(files.isExecutableFile(""));
}

TEST(HomeDirectoryTest, IsTheVariableWithoutASlashAtItsEndOrElseTheUserDatabases) {
    const std::string before = ::getenv("HOME");
    ::setenv("HOME", "/tmp/some home//", 1);
    EXPECT_EQ(PosixFileManager().homeDirectory(), "/tmp/some home");
    ::unsetenv("HOME");
    const std::string found = PosixFileManager().homeDirectory();
    for (const char* none : {"", "relative/home", "."}) {
        ::setenv("HOME", none, 1);
        EXPECT_EQ(PosixFileManager().homeDirectory(), found) << none;
    }
    ::setenv("HOME", before.c_str(), 1);
    EXPECT_TRUE(fs::is_directory(found)) << found;
}

}  // namespace

}  // namespace orvane::test
