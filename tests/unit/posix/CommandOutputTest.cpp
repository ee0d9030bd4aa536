#include "posix/CommandOutput.h"

#include <csignal>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

std::optional<std::string> shell(const std::string& script, std::chrono::milliseconds patience = 10s) {
    return outputOf("/bin/sh", {"-c", script}, Deadline::after(patience));
}

TEST(CommandOutputTest, ArgumentsArriveAndTheOutputIsHeardToItsEnd) {
    EXPECT_EQ(outputOf("/bin/echo", {"a b", "c"}, Deadline::after(10s)), "a b c\n");
    EXPECT_EQ(shell("echo said; exit 3"), "said\n");
    EXPECT_EQ(shell("echo unseen >&2; read line || echo nothing to read"), "nothing to read\n");
    EXPECT_EQ(shell("yes | head -c 300000")->size(), 300'000U);
}

TEST(CommandOutputTest, WhatCannotBeStartedSaysNothing) {
    EXPECT_EQ(outputOf("/nonexistent", {}, Deadline::after(10s)), std::nullopt);
    EXPECT_EQ(outputOf("/etc/passwd", {}, Deadline::after(10s)), std::nullopt);
}

TEST(CommandOutputTest, WhatIsLeftBehindIsNotWaitedFor) {
    EXPECT_EQ(shell("echo said; sleep 3 & exit 0"), "said\n");
}

TEST(CommandOutputTest, WhatTakesTooLongOrSaysTooMuchIsKilledWithItsChildren) {
    EXPECT_EQ(shell("sleep 100", 30ms), std::nullopt);
    EXPECT_EQ(shell("yes; sleep 100"), std::nullopt);
    EXPECT_EQ(shell("trap '' TERM; sleep 100 | cat", 30ms), std::nullopt);
}

TEST(CommandOutputTest, SignalsThatThisProgramIgnoresAreNotIgnoredByTheCommand) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(shell("kill -PIPE $$; echo ignored"), "");
    std::signal(SIGPIPE, before);
}

}  // namespace

}  // namespace orvane::test
