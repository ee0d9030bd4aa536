// Asking a bus before Qt does: a real daemon, one that has been stopped, and what is none.
#include "linux/EventLoop.h"
#include "linux/system/MessageBus.h"
#include "posix/Descriptor.h"

#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

bool answers(const std::string& addresses) {
    return busAnswers(addresses, Deadline::after(300ms));
}

/// A signal takes a moment to arrive (proc(5): the state stands behind the name).
bool isStopped(qint64 process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const auto name = text.rfind(") ");
    return name != text.npos && text[name + 2] == 'T';
}

class MessageBusTest : public testing::Test {
  protected:
    ~MessageBusTest() override {
        if (daemon.state() == QProcess::NotRunning)
            return;  // It has no number: 0 would mean our whole group.
        ::kill(static_cast<pid_t>(daemon.processId()), SIGCONT);
        daemon.kill();
        daemon.waitForFinished();
    }
    void startDaemon() {
        daemon.start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address",
                                     "--address=" + QString::fromStdString(address)});
        ASSERT_TRUE(daemon.waitForReadyRead(10000)) << "dbus-daemon does not start";
        told = daemon.readLine().trimmed().toStdString();
    }

    QTemporaryDir folder;
    const std::string path = folder.path().toStdString() + "/a bus";
    const std::string address = "unix:path=" + folder.path().toStdString() + "/a%20bus";
    std::string told;  ///< The address as the daemon prints it.
    QProcess daemon;
};

TEST_F(MessageBusTest, ADaemonThatRunsAnswers) {
    startDaemon();
    EXPECT_TRUE(busAnswers(address, Deadline::after(10s)));
    EXPECT_TRUE(busAnswers(told, Deadline::after(10s))) << told;
    EXPECT_TRUE(busAnswers("unix:path=/nowhere;" + address, Deadline::after(10s)));
}

TEST_F(MessageBusTest, ADaemonThatIsStoppedAcceptsAndDoesNot) {
    startDaemon();
    ::kill(static_cast<pid_t>(daemon.processId()), SIGSTOP);
    ASSERT_TRUE(runUntil([this] { return isStopped(daemon.processId()); }));
    const auto begin = Deadline::Clock::now();
    EXPECT_FALSE(answers(address));
    EXPECT_LT(Deadline::Clock::now() - begin, 3s);
    ::kill(static_cast<pid_t>(daemon.processId()), SIGCONT);
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
