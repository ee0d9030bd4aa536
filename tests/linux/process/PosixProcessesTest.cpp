#include "linux/ProcessTable.h"
#include "linux/process/PosixProcessesFixture.h"
#include "support/OwnResources.h"

#include <QTemporaryDir>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

using testing::IsEmpty;
using testing::Not;

TEST_F(PosixProcessesTest, AMissingFileIsDescribedWithItsPathAndTheReason) {
    EXPECT_EQ(launchError("/nowhere/orvaned"),
              "The file “/nowhere/orvaned” could not be started: No such file or directory");
}

TEST_F(PosixProcessesTest, AFileThatIsNoProgramIsDescribedSo) {
    EXPECT_EQ(launchError("/etc/passwd"), "The file “/etc/passwd” could not be started: Permission denied");
    EXPECT_EQ(launchError("/tmp"), "The file “/tmp” could not be started: Is a directory");
    EXPECT_THAT(statesOfChildren(), IsEmpty());
}

TEST_F(PosixProcessesTest, AScriptWithoutItsInterpreterIsNotCalledMissingItself) {
    const QTemporaryDir folder;
    const std::string path = folder.path().toStdString() + "/orvaned";
    std::ofstream(path) << "#! /nowhere/\x1b[2Jpython -u\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    EXPECT_EQ(
        launchError(path),
        "The file “" + path + "” could not be started: its interpreter “/nowhere/␛[2Jpython” is missing");
}

TEST_F(PosixProcessesTest, AProgramWithoutItsLoaderIsNotCalledMissingItself) {
    const QTemporaryDir folder;
    const std::string path = folder.path().toStdString() + "/orvaned";
    std::ifstream like("/bin/true", std::ios::binary);
    std::string program{std::istreambuf_iterator<char>(like), {}};
    const std::string loader = "/ld-linux";
    const auto at = program.find(loader);
    ASSERT_NE(at, std::string::npos);
    std::ofstream(path, std::ios::binary) << program.replace(at, loader.size(), "/no-linux");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    EXPECT_EQ(
        launchError(path),
        "The file “" + path + "” could not be started: the system lacks the loader that it was built for");
}

TEST_F(PosixProcessesTest, AChildHasNothingToReadAndAProcessGroupOfItsOwn) {
    EXPECT_EQ(outputOf("readlink /proc/$$/fd/0; cut -d' ' -f5 /proc/$$/stat | grep -c \"^$$\\$\""),
              "/dev/null\n1\n");
}

TEST_F(PosixProcessesTest, AFailedLaunchCallsNoHandlerAndEndsThePipe) {
    Child child(processes, "");
    child.task->setExecutable("/nowhere/orvaned");
    EXPECT_FALSE(child.launch());
    runFor(50ms);
    EXPECT_EQ(child.exits, 0);
    EXPECT_FALSE(child.task->isRunning());
}

TEST_F(PosixProcessesTest, AChildGetsItsArgumentsAndThisProgramsEnvironmentAndFolder) {
    ::setenv("ORVANE_TEST_VALUE", "a value", 1);
    EXPECT_EQ(outputOf("echo \"$ORVANE_TEST_VALUE\"; pwd"),
              "a value\n" + std::filesystem::current_path().string() + "\n");

    const auto task = processes.makeTask();
    const auto pipe = processes.makePipe();
    task->setExecutable("/usr/bin/printf");
    task->setArguments({"%s|", "two words", "", "$HOME"});
    task->setStandardOutput(pipe);
    ASSERT_FALSE(task->launch());
    ASSERT_TRUE(task->waitUntilExit(maxWait));
    EXPECT_EQ(pipe->readDataToEndOfFile(), "two words||$HOME|");
}

TEST_F(PosixProcessesTest, AChildGetsNoStrayDescriptor) {
    const Descriptor stray(::open("/dev/null", O_RDONLY));  // Without O_CLOEXEC, as a library may do it.
    EXPECT_EQ(outputOf("for f in /proc/$$/fd/*; do [ -e \"$f\" ] && printf '%s ' \"${f##*/}\"; done"),
              "0 1 2 ");
}

TEST_F(PosixProcessesTest, AChildHasDefaultDispositionsAndAnEmptyMask) {
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGUSR2, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    ::sigfillset(&blocked);
    ::pthread_sigmask(SIG_SETMASK, &blocked, &before);
    const auto pipe = processes.makePipe();
    const auto task = processes.makeTask();
    task->setExecutable("/usr/bin/grep");
    task->setArguments({"-E", "^Sig(Blk|Ign)", "/proc/self/status"});
    task->setStandardOutput(pipe);
    ASSERT_FALSE(task->launch());
    ASSERT_TRUE(task->waitUntilExit(maxWait));
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::signal(SIGUSR2, SIG_DFL);
    EXPECT_EQ(pipe->readDataToEndOfFile(), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(PosixProcessesTest, TheStatusIsTheExitStatusOrTheSignalsNumber) {
    Child exits(processes, "exit 37");
    ASSERT_TRUE(exits.runToExit());
    EXPECT_EQ(exits.task->terminationStatus(), 37);
    Child isKilled(processes, "kill -SEGV $$");
    ASSERT_TRUE(isKilled.runToExit());
    EXPECT_EQ(isKilled.task->terminationStatus(), SIGSEGV);
}

TEST_F(PosixProcessesTest, TheStatusIsKnownAlsoWhenThisProgramWasStartedWithSigchldIgnored) {
    ::signal(SIGCHLD, SIG_IGN);
    PosixProcesses startedSo;
    Child child(startedSo, "exit 5");
    ASSERT_TRUE(child.runToExit());
    EXPECT_EQ(child.task->terminationStatus(), 5);
}

TEST_F(PosixProcessesTest, TheTerminationHandlerIsCalledOnceAndAfterAllOutput) {
    Child child(processes, "head -c 50000 /dev/zero; exit 1");
    std::size_t bytesAtExit = 0;
    child.task->setTerminationHandler([&] {
        ++child.exits;
        bytesAtExit = child.bytes;
    });
    ASSERT_TRUE(child.runToExit());
    EXPECT_EQ(bytesAtExit, 50'000U);
    runFor(50ms);
    EXPECT_EQ(child.exits, 1);
}

TEST_F(PosixProcessesTest, ARemovedTerminationHandlerIsNotCalledEvenWhenTheChildHasExitedAlready) {
    Child child(processes, "exit 0");
    ASSERT_TRUE(child.launch());
    while (child.task->isRunning())
        std::this_thread::sleep_for(1ms);
    child.task->setTerminationHandler({});
    runFor(50ms);
    EXPECT_EQ(child.exits, 0);
}

TEST_F(PosixProcessesTest, TerminateEndsAChildAndDoesNothingBeforeOrAfterItsLife) {
    Child child(processes, "exec sleep 60");
    child.task->terminate();
    ASSERT_TRUE(child.launch());
    child.task->terminate();
    ASSERT_TRUE(runUntil([&] { return child.exits == 1; }));
    EXPECT_EQ(child.task->terminationStatus(), SIGTERM);
    child.task->terminate();
    child.task->kill();
    ASSERT_TRUE(child.task->waitUntilExit(maxWait));
    EXPECT_EQ(child.task->terminationStatus(), SIGTERM);
}

TEST_F(PosixProcessesTest, TwoHundredRestartsLeaveNoZombieNoDescriptorAndNoThread) {
    ASSERT_EQ(outputOf("echo warm"), "warm\n");
    const std::size_t descriptors = openDescriptors();
    const auto threads = runningThreads();
    for (int i = 0; i < 200; ++i) {
        Child child(processes, "echo started; exec sleep 60");
        ASSERT_TRUE(child.launch());
        ASSERT_TRUE(child.waitForOutput("started"));
        if (i % 2 == 0) child.task->setTerminationHandler({});
        child.task->terminate();
        ASSERT_TRUE(child.task->waitUntilExit(maxWait));
    }
    EXPECT_TRUE(runUntil([] { return statesOfChildren().empty(); }));
    // At first, a pipe of the first child and a thread of an earlier test may still have been there.
    EXPECT_TRUE(runUntil([&] { return openDescriptors() <= descriptors && runningThreads() <= threads; }));
}

TEST_F(PosixProcessesTest, FailedLaunchesLeaveNoDescriptor) {
    launchError("/nowhere/orvaned");
    const std::size_t descriptors = openDescriptors();
    for (int i = 0; i < 100; ++i) {
        Child child(processes, "");
        child.task->setExecutable("/nowhere/orvaned");
        EXPECT_FALSE(child.launch());
    }
    EXPECT_TRUE(runUntil([&] { return openDescriptors() <= descriptors; }));
}

TEST_F(PosixProcessesTest, WithoutFreeDescriptorsALaunchFailsWithTheReason) {
    std::vector<Descriptor> all;
    while (true) {
        Descriptor one(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!one) break;
        all.push_back(std::move(one));
    }
    Child child(processes, "exit 0");
    const auto error = child.task->launch();
    all.clear();
    ASSERT_TRUE(error);
    EXPECT_EQ(*error, "The file “/bin/sh” could not be started: Too many open files");
}

TEST_F(PosixProcessesTest, AWaitEndsAtItsLimit) {
    Child child(processes, "trap '' TERM; echo ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(child.launch());
    ASSERT_TRUE(child.waitForOutput("ready"));
    QElapsedTimer timer;
    timer.start();
    child.task->terminate();
    EXPECT_FALSE(child.task->waitUntilExit(Duration(0.3)));
    EXPECT_GE(timer.elapsed(), 300);
    EXPECT_TRUE(child.task->isRunning());
    child.task->kill();
    EXPECT_TRUE(child.task->waitUntilExit(maxWait));
    EXPECT_EQ(child.task->terminationStatus(), SIGKILL);
}

TEST_F(PosixProcessesTest, AnAbandonedChildIsReapedWhenItExits) {
    {
        const auto task = processes.makeTask();
        task->setExecutable("/bin/sleep");
        task->setArguments({"0.1"});
        ASSERT_FALSE(task->launch());
    }
    EXPECT_THAT(statesOfChildren(), Not(IsEmpty()));
    EXPECT_TRUE(runUntil([] { return statesOfChildren().empty(); }));
}

TEST_F(PosixProcessesTest, AThreadWithoutAnEventLoopLaunchesAndAbandonsChildren) {
    std::thread([&] {
        const auto pipe = processes.makePipe();
        auto task = processes.makeTask();
        task->setExecutable("/bin/echo");
        task->setArguments({"List of devices attached"});
        task->setStandardOutput(pipe);
        ASSERT_FALSE(task->launch());
        while (task->isRunning())
            std::this_thread::sleep_for(1ms);
        EXPECT_EQ(pipe->readDataToEndOfFile(), "List of devices attached\n");

        task = processes.makeTask();
        task->setExecutable("/bin/sleep");
        task->setArguments({"60"});
        ASSERT_FALSE(task->launch());
        task->terminate();
    }).join();
    EXPECT_TRUE(runUntil([] { return statesOfChildren().empty(); }));
}

TEST_F(PosixProcessesTest, AKilledProgramLeavesNoChild) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t program = ::fork();
    if (program == 0) {
        ::dup2(writing.get(), STDOUT_FILENO);
        ::execl(ORVANE_LAUNCHING_PROGRAM, "launch_and_wait", "/bin/sh", "-c", "echo $$; exec sleep 60",
                nullptr);
        ::_exit(127);
    }
    writing.reset();
    FILE* const output = ::fdopen(::dup(reading.get()), "r");
    int server = 0;
    char line[64];
    bool isLaunched = false;
    while ((server == 0 || !isLaunched) && std::fgets(line, sizeof line, output)) {
        if (std::string(line) == "launched\n")
            isLaunched = true;
        else
            server = std::atoi(line);
    }
    std::fclose(output);
    ASSERT_GT(server, 0);
    EXPECT_TRUE(processRuns(server));
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
    EXPECT_TRUE(runUntil([&] { return !processRuns(server); }));
}

TEST_F(PosixProcessesTest, TheEndOfTheProgramGivesTheServerTimeToEndItself) {
    Child child(processes, "trap 'sleep 0.2; exit 6' TERM; echo ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(child.launch());
    ASSERT_TRUE(child.waitForOutput("ready"));
    processes.endFollowed(2s);
    EXPECT_FALSE(child.task->isRunning());
    EXPECT_EQ(child.task->terminationStatus(), 6);
}

TEST_F(PosixProcessesTest, TheEndOfTheProgramHearsOutAServerThatWaitsForRoomInItsPipe) {
    Child child(processes,
                "trap 'head -c 300000 /dev/zero; exit 6' TERM; echo ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(child.launch());
    ASSERT_TRUE(child.waitForOutput("ready"));
    const std::size_t before = child.bytes;
    processes.endFollowed(5s);
    EXPECT_EQ(child.task->terminationStatus(), 6);
    EXPECT_EQ(child.bytes, before);
}

TEST_F(PosixProcessesTest, TheEndOfTheProgramKillsAServerThatDoesNotEnd) {
    Child child(processes, "trap '' TERM; echo ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(child.launch());
    ASSERT_TRUE(child.waitForOutput("ready"));
    QElapsedTimer timer;
    timer.start();
    processes.endFollowed(300ms);
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_EQ(child.task->terminationStatus(), SIGKILL);
}

TEST_F(PosixProcessesTest, TheEndOfTheProgramDoesNotWaitForACommandThatHangs) {
    const auto task = processes.makeTask();
    task->setExecutable("/bin/sleep");
    task->setArguments({"60"});
    ASSERT_FALSE(task->launch());
    EXPECT_LT(taken([&] { processes.endFollowed(2s); }).own, 200);
    EXPECT_TRUE(task->isRunning());
    task->kill();
    ASSERT_TRUE(task->waitUntilExit(maxWait));
}

TEST_F(PosixProcessesTest, AChildOutlivesTheThreadThatStartedIt) {
    const auto task = processes.makeTask();
    task->setExecutable("/bin/sleep");
    task->setArguments({"30"});
    std::thread([&] { EXPECT_FALSE(task->launch()); }).join();
    runFor(100ms);
    EXPECT_TRUE(task->isRunning());
    task->kill();
    EXPECT_TRUE(task->waitUntilExit(maxWait));
}

}  // namespace

}  // namespace orvane::test
