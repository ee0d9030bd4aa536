#include "linux/EventLoop.h"
#include "terminal/TerminalOutput.h"

#include <QElapsedTimer>
#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

class TerminalOutputTest : public testing::Test {
  protected:
    Descriptor reading;
    Descriptor writing;

    TerminalOutputTest() {
        ::signal(SIGPIPE, SIG_IGN);  // As the program does.
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) return;
        reading.reset(ends[0]);
        writing.reset(ends[1]);
        ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
    }
    std::string readAll() {
        std::string text;
        std::array<char, 65536> buffer;
        ssize_t count = 0;
        while ((count = ::read(reading.get(), buffer.data(), buffer.size())) > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        return text;
    }
    /// Nanoseconds of this thread's processor time for fifty pieces of a page each out of so many bytes.
    std::int64_t costOfPieces(std::size_t kept) {
        TerminalOutput output(writing.get());
        output.write(std::string(kept, 'x'));
        std::array<char, 4096> page;
        const auto begin = processorTime();
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(::read(reading.get(), page.data(), page.size()), std::ssize(page));
            QCoreApplication::processEvents();
        }
        const auto took = processorTime() - begin;
        readAll();
        return took;
    }
    static std::int64_t processorTime() {
        timespec now = {};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
    }
};

TEST_F(TerminalOutputTest, WhatFitsIsWrittenAtOnce) {
    TerminalOutput output(writing.get());
    output.write("one\n");
    output.write("two\n");
    EXPECT_EQ(readAll(), "one\ntwo\n");
}

TEST_F(TerminalOutputTest, AReaderThatDoesNotReadHoldsUpNothingAndLosesNothingUpToTheBound) {
    TerminalOutput output(writing.get());
    std::string all;
    for (int i = 0; i < 5000; ++i) {
        const std::string line = std::to_string(i) + std::string(200, '.') + "\n";
        output.write(line);
        all += line;
    }
    std::string read;
    EXPECT_TRUE(runUntil([&] { return (read += readAll()).size() >= all.size(); }));
    EXPECT_EQ(read, all);
}

TEST_F(TerminalOutputTest, BeyondTheBoundTextsAreLeftOutWholeAndThatIsSaid) {
    TerminalOutput output(writing.get());
    const std::string text = std::string(999'999, 'x') + "\n";
    for (int i = 0; i < 20; ++i)
        output.write(text);
    std::string read;
    EXPECT_FALSE(runUntil(
        [&] {
            read += readAll();
            return read.size() > TerminalOutput::maxKept + 200'000;
        },
        500ms));
    output.write("after\n");
    runUntil([&] { return (read += readAll()).ends_with("after\n"); });
    EXPECT_TRUE(read.ends_with("x\n… (not read in time: some output is missing here) …\nafter\n"));
}

TEST_F(TerminalOutputTest, APieceIsWrittenAtTheSameCostHoweverMuchIsKept) {
    // Were the rest moved at each piece, much would cost sixty times as much as little.
    constexpr std::size_t few = 300'000;
    const auto little = std::max({costOfPieces(few), costOfPieces(few), costOfPieces(few)});
    const auto much = std::min(costOfPieces(TerminalOutput::maxKept), costOfPieces(TerminalOutput::maxKept));
    EXPECT_LT(much, 10 * little);
}

TEST_F(TerminalOutputTest, AReaderThatHasGoneIsNoError) {
    TerminalOutput output(writing.get());
    reading.reset();
    output.write("one\n");
    output.write("two\n");
    output.finish(100ms);
}

TEST_F(TerminalOutputTest, AReaderThatGoesWhileMuchIsKeptIsNoError) {
    TerminalOutput output(writing.get());
    output.write(std::string(1'000'000, 'x'));
    reading.reset();
    runFor(20ms);
    output.write("two\n");
}

TEST_F(TerminalOutputTest, TheModeOfTheSharedDescriptorIsLeftAlone) {
    TerminalOutput output(writing.get());
    output.write("x");
    EXPECT_EQ(::fcntl(writing.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(TerminalOutputTest, TheLastWordsAreWaitedForButNotForEver) {
    TerminalOutput output(writing.get());
    output.write(std::string(1'000'000, 'x'));
    QElapsedTimer timer;
    timer.start();
    output.finish(100ms);
    EXPECT_GE(timer.elapsed(), 90);
    EXPECT_LT(timer.elapsed(), 1000);
}

TEST_F(TerminalOutputTest, ASocketThatIsNotReadHoldsUpNothing) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    writing.reset(ends[0]);
    reading.reset(ends[1]);
    ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
    TerminalOutput output(writing.get());
    output.write(std::string(2'000'000, 'x'));
    std::string read;
    EXPECT_TRUE(runUntil([&] { return (read += readAll()).size() == 2'000'000; }));
}

TEST_F(TerminalOutputTest, AFileIsContinuedWhereItStands) {
    char path[] = "/tmp/orvane-output-XXXXXX";
    const Descriptor file(::mkstemp(path));
    ASSERT_EQ(::write(file.get(), "before\n", 7), 7);
    TerminalOutput(file.get()).write("after\n");
    std::ifstream stream(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "before\nafter\n");
    ::unlink(path);
}

}  // namespace

}  // namespace orvane::test
