// The server process: launch, output, restart with a growing delay, manual restart, and the log window.
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

using testing::ElementsAre;
using testing::EndsWith;

class ServerTest : public AppDelegateTest {
  protected:
    void SetUp() override { launch(); }
};

TEST_F(ServerTest, LiesBesideTheProgramAndGetsNoArguments) {
    EXPECT_EQ(server().executable, "/opt/orvane/bin/orvaned");
    EXPECT_TRUE(server().arguments.empty());
}

TEST_F(ServerTest, AProgramThatDoesNotKnowWhereItLiesEndsWithAWord) {
    system.bundle.executablePath = "orvane";
    EXPECT_DEATH(delegate->restart(), "orvane: cannot tell where the program lies");
}

TEST_F(ServerTest, HasOnePipeForBothStreams) {
    ASSERT_NE(server().standardOutput, nullptr);
    EXPECT_EQ(server().standardOutput, server().standardError);
}

TEST_F(ServerTest, OutputIsLoggedAsItComes) {
    serverPrints("hello\n");
    serverPrints("world");
    EXPECT_EQ(log(), "hello\nworld");
}

TEST_F(ServerTest, OutputReachesTheLogOnTheMainQueueOnly) {
    server().print("hello\n");
    EXPECT_EQ(log(), "");
    system.runLoop.runPending();
    EXPECT_EQ(log(), "hello\n");
}

TEST_F(ServerTest, InvalidUtf8ChangesNeitherTheLogNorAnyState) {
    serverPrints("phone=yes\n\xFF\n");
    EXPECT_EQ(log(), "");
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
}

TEST_F(ServerTest, ACharacterCutInTwoByTheReadsLosesBothChunks) {
    serverPrints("before \xE2\x80");
    serverPrints("\x94 after\n");
    serverPrints("whole\n");
    EXPECT_EQ(log(), "whole\n");
}

TEST_F(ServerTest, ThreeQuickCrashesWaitOneTwoAndThreeSeconds) {
    for (int crash = 1; crash <= 3; ++crash) {
        serverExits(1);
        EXPECT_EQ(statusRow().title(), "⚠ Server stopped — restarting…");
        EXPECT_THAT(log(), EndsWith("\n— orvaned exited (status 1); restarting in " + std::to_string(crash) +
                                    "s —\n"));
        system.runLoop.advance(crash - 0.001);
        EXPECT_EQ(launches(), static_cast<std::size_t>(crash));
        system.runLoop.advance(0.001);
        EXPECT_EQ(launches(), static_cast<std::size_t>(crash + 1));
        EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
    }
}

TEST_F(ServerTest, AServerThatRanForThirtySecondsStartsTheCountAgain) {
    serverExits(1);
    system.runLoop.advance(1);
    serverExits(1);
    system.runLoop.advance(2);
    EXPECT_EQ(delegate->restarts(), 2);
    system.runLoop.advance(30);
    EXPECT_EQ(delegate->restarts(), 0);
    serverExits(7);
    EXPECT_THAT(log(), EndsWith("\n— orvaned exited (status 7); restarting in 1s —\n"));
}

TEST_F(ServerTest, ACrashWithinThirtySecondsKeepsCountingUp) {
    serverExits(1);
    system.runLoop.advance(1);
    system.runLoop.advance(20);
    serverExits(1);
    EXPECT_THAT(log(), EndsWith("restarting in 2s —\n"));
    system.runLoop.advance(15);
    EXPECT_EQ(delegate->restarts(), 2) << "the checks of servers that are gone must not clear the count";
}

TEST_F(ServerTest, TheAgeCheckAsksForTheSameServerNotForARunningOne) {
    system.runLoop.advance(29.5);
    serverExits(1);
    EXPECT_EQ(delegate->restarts(), 1);
    system.runLoop.advance(0.6);
    EXPECT_EQ(delegate->restarts(), 0) << "it is still the server launched last";
}

TEST_F(ServerTest, ElevenCrashesInARowWaitTenSecondsAtMost) {
    for (int crash = 1; crash <= 11; ++crash) {
        serverExits(-5);
        const int delay = std::min(crash, 10);
        EXPECT_THAT(log(), EndsWith("(status -5); restarting in " + std::to_string(delay) + "s —\n"));
        system.runLoop.advance(delay);
        EXPECT_EQ(launches(), static_cast<std::size_t>(crash + 1));
    }
}

TEST_F(ServerTest, FailedLaunchIsLoggedShownAndNotRetried) {
    system.processes.launchError = "It is not there.";
    serverExits(1);
    system.runLoop.advance(1);
    EXPECT_THAT(log(), EndsWith("Failed to launch orvaned: It is not there.\n"));
    EXPECT_EQ(statusRow().title(), "⚠ Could not start server");
    system.runLoop.advance(120);
    EXPECT_EQ(launches(), 2U);
}

TEST_F(ServerTest, RestartByHandWorksAfterAFailedLaunch) {
    system.processes.launchError = "It is not there.";
    serverExits(1);
    system.runLoop.advance(1);
    system.processes.launchError.reset();
    menu().choose(row(16));
    EXPECT_TRUE(server().running);
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
}

TEST_F(ServerTest, RestartByHandEndsTheOldServerBeforeTheNewOneStarts) {
    system.processes.journal.clear();
    menu().choose(row(16));
    EXPECT_THAT(system.processes.journal,
                ElementsAre("terminate", "wait 5", "launch /opt/orvane/bin/orvaned"));
    system.runLoop.runPending();
    EXPECT_EQ(log(), "\n— restarting server —\n");
}

TEST_F(ServerTest, RestartByHandKillsAServerThatDoesNotEndWhenAsked) {
    server().obeysTermination = false;
    const auto old = system.processes.tasks.back();
    system.processes.journal.clear();
    menu().choose(row(16));
    EXPECT_THAT(system.processes.journal,
                ElementsAre("terminate", "wait 5", "kill", "wait 1", "launch /opt/orvane/bin/orvaned"));
    EXPECT_FALSE(old->isRunning());
    EXPECT_TRUE(server().isRunning());
}

TEST_F(ServerTest, RestartByHandLogsNoExitAndResetsTheDelay) {
    serverExits(1);
    system.runLoop.advance(1);
    serverExits(1);
    system.runLoop.advance(2);
    const auto before = log();
    delegate->restart();
    system.runLoop.runPending();
    EXPECT_EQ(log(), before + "\n— restarting server —\n");
    serverExits(1);
    EXPECT_THAT(log(), EndsWith("restarting in 1s —\n"));
}

TEST_F(ServerTest, RestartByHandDuringAPendingRestartStartsOneServerOnly) {
    serverExits(1);
    delegate->restart();
    EXPECT_EQ(launches(), 2U);
    system.runLoop.advance(10);
    EXPECT_EQ(launches(), 2U);
}

TEST_F(ServerTest, RestartByHandThatFailsDropsAPendingRestart) {
    serverExits(1);
    system.processes.launchError = "It is not there.";
    delegate->restart();
    system.processes.launchError.reset();
    system.runLoop.advance(20);
    EXPECT_EQ(launches(), 2U);
    EXPECT_EQ(statusRow().title(), "⚠ Could not start server");
}

TEST_F(ServerTest, AnExitReportedLateDoesNotStopTheServerThatReplacedIt) {
    server().exit(1);  // the report waits in the main queue
    delegate->restart();
    system.runLoop.advance(10);
    EXPECT_EQ(launches(), 2U);
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
}

TEST_F(ServerTest, ListsAndSettingsOutliveARestart) {
    serverPrints("pairing code: 42\nalign=off\nrouting to default-output\n");
    serverLists({session(7, 1, "Kitchen")});
    delegate->restart();
    EXPECT_EQ(delegate->phones().size(), 1U);
    EXPECT_EQ(delegate->pairingCode(), "42");
    EXPECT_TRUE(delegate->driverMissing());
    EXPECT_FALSE(delegate->alignStreams());
}

TEST_F(ServerTest, LogKeepsTheNewestHundredAndSixtyThousandCharacters) {
    serverPrints(std::string(100'000, 'a'));
    serverPrints(std::string(100'000, 'b'));
    EXPECT_EQ(delegate->log().characterCount(), 200'000U);
    serverPrints("c");
    EXPECT_EQ(delegate->log().characterCount(), 160'000U);
    EXPECT_EQ(log(), std::string(59'999, 'a') + std::string(100'000, 'b') + "c");
}

TEST_F(ServerTest, LogWindowIsMadeOnFirstUseAndKept) {
    EXPECT_EQ(system.logWindows.window, nullptr);
    serverPrints("hello\n");
    menu().choose(row(15));
    ASSERT_EQ(system.logWindows.styles.size(), 1U);
    const auto& style = system.logWindows.styles.front();
    EXPECT_EQ(style.width, 720);
    EXPECT_EQ(style.height, 420);
    EXPECT_EQ(style.title, "Orvane Server Log");
    EXPECT_EQ(style.fontSize, 11);
    EXPECT_THAT(system.logWindows.window->journal, ElementsAre("update", "front"));
    EXPECT_EQ(system.application.journal.back(), "activate");
    menu().choose(row(15));
    EXPECT_EQ(system.logWindows.styles.size(), 1U);
}

TEST_F(ServerTest, TheProgramIsActiveByTheTimeTheLogComesToTheFront) {
    delegate->showLog();
    system.application.journal.clear();
    bool isActive = false;
    system.logWindows.window->onFront = [&] { isActive = !system.application.journal.empty(); };
    delegate->showLog();
    EXPECT_TRUE(isActive);
}

TEST_F(ServerTest, LogWindowFollowsTheLogWhetherItIsVisibleOrNot) {
    delegate->showLog();
    EXPECT_EQ(system.logWindows.window->text, "");
    serverPrints("hello\n");
    EXPECT_EQ(system.logWindows.window->text, "hello\n");
}

TEST_F(ServerTest, AServerEndedByHandIsNotStartedAgainForItsExit) {
    system.processes.launchError = "It is not there.";
    delegate->restart();
    system.runLoop.advance(20);
    EXPECT_EQ(launches(), 2U);
    EXPECT_EQ(log(), "\n— restarting server —\nFailed to launch orvaned: It is not there.\n");
}

TEST_F(ServerTest, DevicesOutliveARestart) {
    serverListsDevices({device(true, 16, "a", "A")});
    delegate->restart();
    EXPECT_EQ(delegate->devices().size(), 1U);
}

TEST_F(ServerTest, RestartByHandIsLoggedWhenTheOldServerIsGone) {
    EXPECT_THAT(effectsOf([this] { delegate->restart(); }, "restarting server"),
                ElementsAre("end", "launch, logged"));
}

TEST_F(ServerTest, AFailedLaunchIsLoggedBeforeItShows) {
    std::string logThen;
    const MenuLook look(menu(), [&] {
        if (logThen.empty() && statusRow().title() == "⚠ Could not start server") logThen = log();
    });
    system.processes.launchError = "It is not there.";
    delegate->restart();
    EXPECT_THAT(logThen, EndsWith("Failed to launch orvaned: It is not there.\n"));
}

}  // namespace orvane::test
