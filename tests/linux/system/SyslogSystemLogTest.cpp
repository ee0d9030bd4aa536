#include "linux/system/SyslogSystemLog.h"
#include "posix/Descriptor.h"

#include <QTemporaryDir>
#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace orvane::test {

namespace {

/// What reaches a terminal at standard error while `line` is logged.
std::string shownOnTerminal(bool echoes, const std::string& line) {
    int farEnd = -1;
    int nearEnd = -1;
    if (::openpty(&farEnd, &nearEnd, nullptr, nullptr, nullptr) != 0) return "no terminal";
    const Descriptor screen(farEnd);
    ::fcntl(farEnd, F_SETFL, O_NONBLOCK);
    const Descriptor before(::dup(STDERR_FILENO));
    ::dup2(nearEnd, STDERR_FILENO);
    SyslogSystemLog(echoes).log(line);
    ::dup2(before.get(), STDERR_FILENO);
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(farEnd, buffer.data(), buffer.size());
    ::close(nearEnd);
    return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : "";
}

TEST(SyslogSystemLogTest, ATerminalShowsEachLineAsHarmlessText) {
    EXPECT_EQ(shownOnTerminal(true, "Orvane: 100% %s %n of “Küche\x1b[2J”\n"),
              "Orvane: 100% %s %n of “Küche␛[2J”␊\r\n");
}

/// A daemon's socket, whose daemon reads when the test says so.
class LogSocket {
  public:
    LogSocket() { open(); }
    void open() {
        ::unlink(path.c_str());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        socket_.reset(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0));
        ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    std::string next() {
        std::array<char, 4096> buffer;
        const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : "";
    }

    QTemporaryDir folder;
    const std::string path = folder.path().toStdString() + "/log";

  private:
    Descriptor socket_;
};

TEST(SyslogSystemLogTest, TheDaemonGetsEachLineInItsForm) {
    LogSocket daemon;
    SyslogSystemLog log(false, daemon.path);
    log.log("Orvane: 100% %n\n");
    EXPECT_THAT(daemon.next(), testing::MatchesRegex("<13>[A-Z][a-z][a-z] [ 1-3][0-9] [0-9:]{8} orvane\\[" +
                                                     std::to_string(::getpid()) + "\\]: Orvane: 100% %n␊"));
}

TEST(SyslogSystemLogTest, ADaemonThatHangsHoldsNothingUpAndHearsHowMuchItMissed) {
    LogSocket daemon;
    SyslogSystemLog log(false, daemon.path);
    constexpr int lines = 2000;
    for (int i = 0; i < lines; ++i)
        log.log("line " + std::to_string(i));
    int taken = 0;
    while (!daemon.next().empty())
        ++taken;
    ASSERT_LT(taken, lines);
    log.log("at last");
    EXPECT_THAT(daemon.next(), testing::EndsWith(": Orvane: " + std::to_string(lines - taken) +
                                                 " lines were lost: the log took none"));
    EXPECT_THAT(daemon.next(), testing::EndsWith(": at last"));
}

TEST(SyslogSystemLogTest, ARestartedDaemonIsFoundAgain) {
    LogSocket daemon;
    SyslogSystemLog log(false, daemon.path);
    log.log("one");
    daemon.open();
    log.log("two");
    EXPECT_THAT(daemon.next(), testing::EndsWith(": two"));
}

TEST(SyslogSystemLogTest, NothingIsShownWhereTheMenuIs) {
    EXPECT_EQ(shownOnTerminal(false, "Orvane: hello"), "");
}

}  // namespace

}  // namespace orvane::test
