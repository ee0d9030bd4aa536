// Asking a bus before Qt does: a real daemon, one that has been stopped, and what is none.
#include "linux/EventLoop.h"
#include "linux/SpawnedProgram.h"
#include "linux/system/MessageBus.h"
#include "posix/Descriptor.h"

#include <QTemporaryDir>
#include <csignal>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

bool answers(const std::string& addresses) {
    return busAnswers(addresses, Deadline::after(300ms));
}

class MessageBusTest : public testing::Test {
  protected:
    void startDaemon() {
        daemon.start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                      "--address=" + address});
        told = daemon.firstLine();
        ASSERT_NE(told, "") << "dbus-daemon does not start";
    }

    QTemporaryDir folder;
    const std::string path = folder.path().toStdString() + "/a bus";
    const std::string address = "unix:path=" + folder.path().toStdString() + "/a%20bus";
    std::string told;  ///< The address as the daemon prints it.
    SpawnedProgram daemon;
};

TEST_F(MessageBusTest, ADaemonThatRunsAnswers) {
    startDaemon();
    EXPECT_TRUE(busAnswers(address, Deadline::after(10s)));
    EXPECT_TRUE(busAnswers(told, Deadline::after(10s))) << told;
    EXPECT_TRUE(busAnswers("unix:path=/nowhere;" + address, Deadline::after(10s)));
}

TEST_F(MessageBusTest, ADaemonThatIsStoppedAcceptsAndDoesNot) {
    startDaemon();
    daemon.signal(SIGSTOP);
    ASSERT_TRUE(runUntil([this] { return daemon.state() == "T"; })) << "a signal takes a moment to arrive";
    const auto begin = Deadline::Clock::now();
    EXPECT_FALSE(answers(address));
    EXPECT_LT(Deadline::Clock::now() - begin, 3s);
    daemon.signal(SIGCONT);
    EXPECT_TRUE(busAnswers(address, Deadline::after(10s)));
}

TEST_F(MessageBusTest, AQueueThatIsFullDoesNot) {
    const Descriptor bus(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    ASSERT_EQ(::bind(bus.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    ASSERT_EQ(::listen(bus.get(), 0), 0);
    const Descriptor first(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(::connect(first.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    EXPECT_FALSE(answers(address));
}

TEST_F(MessageBusTest, WhatIsNoBusDoesNot) {
    for (const char* none : {"", "unix:", "unix:path=", "unix:path=/nowhere", "unix:path=/etc/passwd",
                             "disabled:", "unix:runtime=no", ";;", "unix:path=%", "unix:abstract=orvane%2"})
        EXPECT_FALSE(answers(none)) << none;
    EXPECT_FALSE(answers("unix:path=" + std::string(200, 'x')));
}

TEST_F(MessageBusTest, AnAddressOfAnotherKindIsTakenAtItsWord) {
    EXPECT_TRUE(answers("tcp:host=localhost,port=1"));
}

}  // namespace

}  // namespace orvane::test
