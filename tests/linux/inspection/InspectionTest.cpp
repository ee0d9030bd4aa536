#include "linux/inspection/BluezFacts.h"
#include "linux/inspection/LinuxInspection.h"
#include "linux/inspection/PortHolder.h"
#include "posix/Descriptor.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cerrno>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace orvane::test {

namespace {

TEST(PortHolderTest, AListenerIsFoundWithItsProcess) {
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(socket.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(listen(socket.get(), 1), 0);
    getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size);
    const auto facts = holderOfPort(ntohs(address.sin_port));
    ASSERT_TRUE(facts);
    EXPECT_FALSE(facts->isFree);
    EXPECT_EQ(facts->process, getpid());
    EXPECT_EQ(facts->holder, program_invocation_short_name);
}

void write(const QString& path, const char* text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(text);
}

void addSwitch(const QTemporaryDir& folder, const char* name, const char* type, const char* soft) {
    const QDir radio(folder.filePath(name));
    radio.mkpath(".");
    write(radio.filePath("type"), type);
    write(radio.filePath("soft"), soft);
    write(radio.filePath("hard"), "0\n");
}

TEST(RadioSwitchesTest, BluetoothIsBlockedWhenEveryRadioOfItIs) {
    const QTemporaryDir folder;
    const std::string path = folder.path().toStdString();
    addSwitch(folder, "rfkill0", "wlan\n", "1\n");
    EXPECT_FALSE(readRadioSwitches(path).hasBluetooth);
    addSwitch(folder, "rfkill1", "bluetooth\n", "1\n");
    EXPECT_TRUE(readRadioSwitches(path).isBlocked);
    addSwitch(folder, "rfkill2", "bluetooth\n", "0\n");
    EXPECT_FALSE(readRadioSwitches(path).isBlocked);
    EXPECT_TRUE(readRadioSwitches(path).hasBluetooth);
}

TEST(LinuxInspectionTest, AFolderThatCanBeMadeCanBeWrittenInto) {
    const QTemporaryDir folder;
    const std::string path = folder.path().toStdString();
    const LinuxInspection inspection;
    EXPECT_EQ(inspection.obstacleToWriting(path, {"file"}), "");
    EXPECT_EQ(inspection.obstacleToWriting(path + "/not/yet", {"file"}), "");
    EXPECT_FALSE(QDir(folder.filePath("not")).exists());
}

TEST(LinuxInspectionTest, WhatKeepsFilesFromBeingWrittenIsTold) {
    const QTemporaryDir folder;
    const std::string path = folder.path().toStdString();
    const LinuxInspection inspection;
    write(folder.filePath("file"), "");
    EXPECT_EQ(inspection.obstacleToWriting(path, {"file"}), "");
    EXPECT_EQ(inspection.obstacleToWriting(path + "/file/below", {}),
              "cannot be made: " + path + "/file is no folder");
    QFile::link("/nowhere", folder.filePath("link"));
    EXPECT_EQ(inspection.obstacleToWriting(path + "/link", {}),
              "cannot be made: " + path + "/link is no folder");
    QDir(folder.path()).mkdir("device");
    EXPECT_THAT(inspection.obstacleToWriting(path, {"file", "device"}), testing::HasSubstr("“device”"));
    if (::geteuid() == 0) return;  // Who may write everywhere.
    QFile(folder.path()).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(inspection.obstacleToWriting(path, {}), "cannot be written: Permission denied");
}

TEST(PortHolderTest, AnotherUsersListenerIsToldWithThatUser) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::fchown(socket.get(), 65534, 65534), 0);
    ASSERT_EQ(bind(socket.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(listen(socket.get(), 1), 0);
    getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size);
    const auto facts = holderOfPort(ntohs(address.sin_port));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->user, "nobody");
}

TEST(LinuxInspectionTest, AProgramIsToldFromAFileThatCannotBeRun) {
    const QTemporaryDir folder;
    const LinuxInspection inspection;
    const QString file = folder.filePath("program");
    EXPECT_EQ(inspection.program(file.toStdString()), ProgramPresence::absent);
    write(file, "");
    EXPECT_EQ(inspection.program(file.toStdString()), ProgramPresence::notExecutable);
    QFile(file).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(inspection.program(file.toStdString()), ProgramPresence::executable);
    EXPECT_EQ(inspection.program(folder.path().toStdString()), ProgramPresence::noFile);
    const std::string pipe = folder.filePath("pipe").toStdString();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0700), 0);
    EXPECT_EQ(inspection.program(pipe), ProgramPresence::noFile);
}

}  // namespace
}  // namespace orvane::test
