#include "linux/system/SyslogSystemLog.h"
#include "posix/Descriptor.h"

#include <array>

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

namespace orvane::test {

namespace {

// What reaches a terminal at standard error while `line` is logged.
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

TEST(SyslogSystemLogTest, NothingIsShownWhereTheMenuIs) {
    EXPECT_EQ(shownOnTerminal(false, "Orvane: hello"), "");
}

}  // namespace

}  // namespace orvane::test
