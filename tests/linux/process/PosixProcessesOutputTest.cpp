// What a child says: through its pipe while it lives, and what is left in it at its end.
#include "linux/ProcessTable.h"
#include "linux/process/PosixProcessesFixture.h"
#include "support/OwnResources.h"

#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

using testing::IsEmpty;
using testing::Le;
using testing::Not;

TEST_F(PosixProcessesTest, AHandlerThatRemovesItselfHearsNothingMore) {
    Child child(processes, "head -c 200000 /dev/zero");
    auto& pipe = static_cast<PosixPipe&>(*child.pipe);
    ASSERT_GE(::fcntl(pipe.writingEnd(), F_SETPIPE_SZ, 1 << 18), 200'000);
    int calls = 0;
    pipe.setReadabilityHandler([&](std::string_view) {
        ++calls;
        pipe.setReadabilityHandler({});
    });
    ASSERT_TRUE(child.launch());
    while (child.task->isRunning())
        std::this_thread::sleep_for(1ms);
    pipe.deliverPending();
    EXPECT_EQ(calls, 1);
}

TEST_F(PosixProcessesTest, BothStreamsArriveInOnePipeInOrder) {
    EXPECT_EQ(outputOf("echo one; echo two >&2; echo three"), "one\ntwo\nthree\n");
}

TEST_F(PosixProcessesTest, AFloodIsReadInBoundedPiecesWhileTheLoopStaysAlive) {
    Child child(processes, "head -c 104857600 /dev/zero");
    int ticks = 0;
    std::size_t mostPerTurn = 0;
    std::size_t before = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(5);
    ASSERT_TRUE(child.launch());
    while (child.exits == 0) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (child.exits == 0) mostPerTurn = std::max(mostPerTurn, child.bytes - before);
        before = child.bytes;
    }
    EXPECT_EQ(child.bytes, 104'857'600U);
    EXPECT_THAT(child.largestChunk, Le(1U << 20));
    EXPECT_THAT(mostPerTurn, Le(2U << 20));
    EXPECT_GT(ticks, 0);
}

TEST_F(PosixProcessesTest, AGrandchildThatHoldsThePipeDelaysNeitherOutputNorExit) {
    Child child(processes, "sleep 30 & echo $!; exit 3");
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(child.runToExit());
    EXPECT_LT(timer.elapsed(), 5000);
    const int grandchild = std::stoi(child.output);
    EXPECT_TRUE(processRuns(grandchild));
    ::kill(grandchild, SIGKILL);
}

TEST_F(PosixProcessesTest, AGrandchildIsHeardWhenEverybodyHasLetGoOfThePipe) {
    const auto heard = std::make_shared<std::string>();
    std::weak_ptr<Pipe> pipe;
    {
        const auto made = processes.makePipe();
        pipe = made;
        made->setReadabilityHandler([heard](std::string_view chunk) { *heard += chunk; });
        const auto task = processes.makeTask();
        task->setExecutable("/bin/sh");
        task->setArguments({"-c", "(sleep 0.2; echo one && echo two) & exit"});
        task->setStandardOutput(made);
        ASSERT_EQ(task->launch(), std::nullopt);
        ASSERT_TRUE(task->waitUntilExit(maxWait));
    }
    EXPECT_TRUE(runUntil([&] { return *heard == "one\ntwo\n"; })) << *heard;
    EXPECT_TRUE(runUntil([&] { return pipe.expired(); })) << "kept beyond the end of its stream";
}

TEST_F(PosixProcessesTest, ACaptureIsWholeAndNeverWaitsForAGrandchild) {
    const auto pipe = processes.makePipe();
    const auto task = processes.makeTask();
    task->setExecutable("/bin/sh");
    task->setArguments({"-c", "sleep 30 & echo $!"});
    task->setStandardOutput(pipe);
    ASSERT_FALSE(task->launch());
    ASSERT_TRUE(task->waitUntilExit(maxWait));
    const std::string output = pipe->readDataToEndOfFile();
    ASSERT_THAT(output, Not(IsEmpty()));
    ::kill(std::stoi(output), SIGKILL);
    EXPECT_EQ(pipe->readDataToEndOfFile(), "");
}

TEST_F(PosixProcessesTest, ACaptureDrainedWhileItRunsExceedsWhatAPipeHolds) {
    const auto pipe = processes.makePipe();
    const auto task = processes.makeTask();
    task->setExecutable("/usr/bin/head");
    task->setArguments({"-c", "1000000", "/dev/zero"});
    task->setStandardOutput(pipe);
    ASSERT_FALSE(task->launch());
    EXPECT_TRUE(task->isRunning());
    std::string output;
    while (task->isRunning())
        output += pipe->readAvailable();
    output += pipe->readDataToEndOfFile();
    EXPECT_EQ(output.size(), 1'000'000U);
}

TEST_F(PosixProcessesTest, AChildThatClosesItsOutputAndLivesOnCostsNothing) {
    Child child(processes, "echo open; exec >/dev/null 2>&1; exec sleep 60");
    const std::size_t descriptors = openDescriptors();
    ASSERT_TRUE(child.launch());
    ASSERT_TRUE(child.waitForOutput("open"));
    ASSERT_TRUE(runUntil([&] { return openDescriptors() < descriptors; }));  // The reading end is closed.
    const double before = processorTime();
    QEventLoop loop;
    QTimer::singleShot(500, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_LT(processorTime() - before, 0.1);
    EXPECT_TRUE(child.task->isRunning());
    child.task->terminate();
    ASSERT_TRUE(child.task->waitUntilExit(maxWait));
}

TEST_F(PosixProcessesTest, AWaitDeliversMoreThanAPipeHolds) {
    Child child(processes,
                "trap 'head -c 300000 /dev/zero; exit 4' TERM; echo ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(child.launch());
    ASSERT_TRUE(child.waitForOutput("ready"));
    child.task->terminate();
    ASSERT_TRUE(child.task->waitUntilExit(maxWait));
    EXPECT_FALSE(child.task->isRunning());
    EXPECT_EQ(child.task->terminationStatus(), 4);
    EXPECT_EQ(child.bytes, 300'006U);
}

}  // namespace

}  // namespace orvane::test
