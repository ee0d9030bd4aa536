#include "support/ScriptedAdb.h"
#include "usb/AdbBridge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string header = "List of devices attached\n";
const std::string list = "-s AAA reverse --list";
const std::string model = "-s AAA shell getprop ro.product.model";
const std::string add = "-s AAA reverse tcp:5555 tcp:5555";
const std::string removal = "-s AAA reverse --remove tcp:5555";

class AdbBridgeTest : public testing::Test {
  protected:
    void start() {
        bridge_->start([this](const AdbState& state) { heard_.push_back(state); });
        work();
    }
    /// Lets the queue do its jobs and the main thread hear of them, without a timer firing.
    void work() {
        system_.threads.runQueued();
        system_.runLoop.runPending();
    }
    /// Lets the timer fire once, and the probe run.
    void nextPoll() {
        adb_.commands.clear();
        system_.runLoop.advance(2.0);
        work();
    }
    void plugIn(const std::string& lines = "AAA\tdevice\n") {
        adb_.answers["devices"] = {header + lines + "\n"};
        adb_.answers[model] = {"Pixel 7\n"};
    }
    void tunnelIs(const std::string& listing) { adb_.answers[list] = {listing}; }

    TestPlatform system_;
    ScriptedAdb adb_{system_};
    std::shared_ptr<AdbBridge> bridge_ = std::make_shared<AdbBridge>(adbRoles(system_));
    std::vector<AdbState> heard_;
};

// What one probe runs, and what it makes of it.

TEST_F(AdbBridgeTest, WithoutAdbNothingIsRunAndTheToolsAreMissing) {
    system_.fileManager.executables.clear();
    start();
    EXPECT_THAT(adb_.commands, IsEmpty());
    EXPECT_THAT(heard_, ElementsAre(AdbState::noAdb));
}

TEST_F(AdbBridgeTest, AReadyPhoneWithoutTunnelGetsOne) {
    plugIn();
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add));
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7")));
    EXPECT_EQ(bridge_->state(), AdbState::ready("Pixel 7"));
}

TEST_F(AdbBridgeTest, ASteadyStateCostsThreeCommandsEveryTwoSeconds) {
    plugIn();
    tunnelIs("host-12 tcp:5555 tcp:5555\n");
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model));
    nextPoll();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model));
    EXPECT_EQ(heard_.size(), 1U);
}

TEST_F(AdbBridgeTest, TheHeaderAloneIsNoPhoneWithoutAnyFurtherCommand) {
    adb_.answers["devices"] = {header + "\n"};
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices"));
    EXPECT_EQ(bridge_->state(), AdbState::noDevice);
}

TEST_F(AdbBridgeTest, AnUnauthorizedPhoneIsReportedWithoutAnyFurtherCommand) {
    plugIn("AAA\tunauthorized\n");
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices"));
    EXPECT_THAT(heard_, ElementsAre(AdbState::unauthorized));
}

TEST_F(AdbBridgeTest, AnUnauthorizedPhoneBeforeAReadyOneMakesNoDifference) {
    plugIn("BBB\tunauthorized\nAAA\tdevice\n");
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add));
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7")));
}

TEST_F(AdbBridgeTest, OfTwoReadyPhonesOnlyTheFirstGetsTheTunnel) {
    plugIn("AAA\tdevice\nBBB\tdevice\n");
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add));
}

TEST_F(AdbBridgeTest, AListingThatTimesOutIsNoPhone) {
    plugIn();
    start();
    adb_.answers["devices"].seconds = 100;
    nextPoll();
    EXPECT_THAT(adb_.commands, ElementsAre("devices"));
    EXPECT_EQ(bridge_->state(), AdbState::noDevice);
}

TEST_F(AdbBridgeTest, AListingThatIsNotTextIsNoPhone) {
    plugIn();
    start();
    adb_.answers["devices"].output = header + "\xC3\x28\nAAA\tdevice\n";
    nextPoll();
    EXPECT_EQ(bridge_->state(), AdbState::noDevice);
}

TEST_F(AdbBridgeTest, AnAdbThatCannotBeStartedIsNoPhone) {
    plugIn();
    start();
    system_.processes.launchError = "exec format error";
    nextPoll();
    EXPECT_EQ(bridge_->state(), AdbState::noDevice);
}

TEST_F(AdbBridgeTest, ATunnelListThatTimesOutCountsAsEmpty) {
    plugIn();
    adb_.answers[list] = {.output = "host-12 tcp:5555 tcp:5555\n", .seconds = 100};
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add));
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7")));
}

TEST_F(AdbBridgeTest, TheTunnelOfAnotherPortIsNotOurs) {
    plugIn();
    tunnelIs("host-12 tcp:8081 tcp:8081\n");
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add));
}

TEST_F(AdbBridgeTest, AListedPort55550CountsAsPort5555BeingPresent) {
    plugIn();
    tunnelIs("host-12 tcp:55550 tcp:55550\n");
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model));
}

TEST_F(AdbBridgeTest, TheModelIsTrimmed) {
    plugIn();
    adb_.answers[model] = {"\r\n  Galaxy S23 Ultra \t\r\n"};
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Galaxy S23 Ultra")));
}

TEST_F(AdbBridgeTest, AnEmptyModelGivesWayToTheSerialNumber) {
    plugIn();
    adb_.answers[model] = {" \r\n"};
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("AAA")));
}

TEST_F(AdbBridgeTest, AModelThatTimesOutGivesWayToTheSerialNumber) {
    plugIn();
    adb_.answers[model].seconds = 100;
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("AAA")));
}

TEST_F(AdbBridgeTest, AModelThatIsNotTextGivesWayToTheSerialNumber) {
    plugIn();
    adb_.answers[model] = {"Pixel\xFF\n"};
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("AAA")));
}

TEST_F(AdbBridgeTest, AModelIsOneLineWhateverThePhonePrints) {
    plugIn();
    adb_.answers[model] = {"Pixel\nsessions: 1\nsession:\t0\u202E\n"};
    start();
    EXPECT_EQ(bridge_->state(), AdbState::ready("Pixel sessions: 1 session: 0"));
}

TEST_F(AdbBridgeTest, SuspendedWithATunnelListedTheTunnelIsRemoved) {
    plugIn();
    tunnelIs("host-12 tcp:5555 tcp:5555\n");
    bridge_->setSuspended(true);
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, removal));
    EXPECT_THAT(heard_, ElementsAre(AdbState::yielded("Pixel 7")));
}

TEST_F(AdbBridgeTest, SuspendedWithoutATunnelListedNoneIsRemoved) {
    plugIn();
    bridge_->setSuspended(true);
    start();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model));
    EXPECT_THAT(heard_, ElementsAre(AdbState::yielded("Pixel 7")));
}

TEST_F(AdbBridgeTest, AFailedRequestForTheTunnelIsStillReadyAndTriedAgain) {
    plugIn();
    adb_.answers[add] = {.output = "error", .status = 1};
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7")));
    nextPoll();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add));
    EXPECT_EQ(heard_.size(), 1U);
}

TEST_F(AdbBridgeTest, ARequestForTheTunnelThatTimesOutIsStillReady) {
    plugIn();
    adb_.answers[add].seconds = 100;
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7")));
}

TEST_F(AdbBridgeTest, AnotherPortIsUsedOnBothSides) {
    plugIn();
    bridge_ = std::make_shared<AdbBridge>(adbRoles(system_), std::uint16_t{80});
    start();
    EXPECT_EQ(adb_.commands.back(), "-s AAA reverse tcp:80 tcp:80");
}

TEST_F(AdbBridgeTest, ASerialNumberWithBlanksStaysOneArgument) {
    plugIn("A A\tdevice\n");
    start();
    EXPECT_THAT(system_.processes.latest().arguments,
                ElementsAre("-s", "A A", "reverse", "tcp:5555", "tcp:5555"));
}

// Changes and their report.

TEST_F(AdbBridgeTest, TheFirstStateIsNoDeviceAndIsNotReported) {
    EXPECT_EQ(bridge_->state(), AdbState::noDevice);
    adb_.answers["devices"] = {header + "\n"};
    start();
    nextPoll();
    EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(AdbBridgeTest, APhonePluggedInAuthorizedAndUnpluggedIsReportedStepByStep) {
    adb_.answers["devices"] = {header + "\n"};
    start();
    plugIn("AAA\tunauthorized\n");
    nextPoll();
    plugIn();
    nextPoll();
    adb_.answers["devices"] = {header + "\n"};
    nextPoll();
    system_.fileManager.executables.clear();
    nextPoll();
    EXPECT_THAT(heard_, ElementsAre(AdbState::unauthorized, AdbState::ready("Pixel 7"), AdbState::noDevice,
                                    AdbState::noAdb));
}

TEST_F(AdbBridgeTest, ReadyThenYieldedIsAChangeAndTwoReadyAlikeAreNot) {
    plugIn();
    start();
    nextPoll();
    bridge_->setSuspended(true);
    nextPoll();
    nextPoll();
    bridge_->setSuspended(false);
    nextPoll();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7"), AdbState::yielded("Pixel 7"),
                                    AdbState::ready("Pixel 7")));
}

TEST_F(AdbBridgeTest, AChangeOfTheModelAloneIsReported) {
    plugIn();
    adb_.answers[model] = {""};
    start();
    plugIn();
    nextPoll();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("AAA"), AdbState::ready("Pixel 7")));
}

TEST_F(AdbBridgeTest, AnotherSpellingOfTheSameModelIsNoChange) {
    plugIn();
    adb_.answers[model] = {"T\u00E9l\u00E9phone\n"};
    start();
    adb_.answers[model] = {"Te\u0301le\u0301phone\n"};
    nextPoll();
    EXPECT_EQ(heard_.size(), 1U);
}

TEST_F(AdbBridgeTest, SuspendingTriggersNoPollOfItsOwn) {
    plugIn();
    start();
    adb_.commands.clear();
    bridge_->setSuspended(true);
    system_.runLoop.advance(1.9);
    work();
    EXPECT_THAT(adb_.commands, IsEmpty());
    EXPECT_EQ(bridge_->state(), AdbState::ready("Pixel 7"));
}

TEST_F(AdbBridgeTest, AProbeLooksForTheSuspensionOnlyWhenItNeedsIt) {
    plugIn();
    system_.processes.onLaunch = [this, play = system_.processes.onLaunch](ScriptedTask& task) {
        play(task);
        if (task.arguments.back() == "ro.product.model") bridge_->setSuspended(true);
    };
    start();
    EXPECT_THAT(heard_, ElementsAre(AdbState::yielded("Pixel 7")));
}

TEST_F(AdbBridgeTest, ChangesAreReportedOnTheMainThreadInTheirOrderWithTheStateFoundThen) {
    plugIn();
    bridge_->start([this](const AdbState& state) { heard_.push_back(state); });
    system_.threads.runQueued();
    plugIn("AAA\tunauthorized\n");
    bridge_->start([this](const AdbState& state) { heard_.push_back(state); });
    system_.threads.runQueued();
    EXPECT_THAT(heard_, IsEmpty()) << "nothing is reported on the queue's thread";
    EXPECT_EQ(bridge_->state(), AdbState::unauthorized);
    system_.runLoop.runPending();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7"), AdbState::unauthorized));
}

TEST_F(AdbBridgeTest, WorksWithoutAnyoneListening) {
    plugIn();
    bridge_->start({});
    work();
    EXPECT_EQ(bridge_->state(), AdbState::ready("Pixel 7"));
}

// Its life: queue, timer, stop, and being gone.

TEST_F(AdbBridgeTest, WorksOnOneSerialQueueOfItsOwn) {
    EXPECT_THAT(system_.threads.queueLabels, ElementsAre("audio.orvane.adb"));
    EXPECT_EQ(system_.threads.queuedCount(), 0U) << "nothing starts by itself";
    EXPECT_EQ(system_.runLoop.timerCount(), 0U);
}

TEST_F(AdbBridgeTest, PollsAtOnceAndThenEveryTwoSeconds) {
    bridge_->start({});
    EXPECT_THAT(adb_.commands, IsEmpty()) << "the main thread runs no command";
    EXPECT_EQ(system_.threads.queuedCount(), 1U);
    system_.runLoop.advance(1.99);
    EXPECT_EQ(system_.threads.queuedCount(), 1U);
    system_.runLoop.advance(0.02);
    EXPECT_EQ(system_.threads.queuedCount(), 2U);
    system_.runLoop.advance(20);
    EXPECT_EQ(system_.threads.queuedCount(), 12U);
}

TEST_F(AdbBridgeTest, PollsThatPileUpBehindASlowProbeAllRunOneAfterTheOther) {
    adb_.answers["devices"] = {header + "\n"};
    bridge_->start({});
    system_.runLoop.advance(7);
    work();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", "devices", "devices", "devices"));
}

TEST_F(AdbBridgeTest, AfterStopTheTimerIsGoneAndAQueuedJobStillReports) {
    plugIn();
    bridge_->start([this](const AdbState& state) { heard_.push_back(state); });
    bridge_->stop();
    EXPECT_EQ(system_.runLoop.timerCount(), 0U);
    work();
    EXPECT_THAT(heard_, ElementsAre(AdbState::ready("Pixel 7")));
    nextPoll();
    EXPECT_THAT(adb_.commands, IsEmpty());
}

TEST_F(AdbBridgeTest, StopLeavesTheTunnelAndTheStateAlone) {
    plugIn();
    start();
    adb_.commands.clear();
    bridge_->stop();
    work();
    EXPECT_THAT(adb_.commands, IsEmpty());
    EXPECT_EQ(bridge_->state(), AdbState::ready("Pixel 7"));
}

TEST_F(AdbBridgeTest, StopBeforeStartAndStopTwiceAreHarmless) {
    bridge_->stop();
    start();
    bridge_->stop();
    bridge_->stop();
    EXPECT_EQ(system_.runLoop.timerCount(), 0U);
}

TEST_F(AdbBridgeTest, CanBeStartedAgainAfterStop) {
    start();
    bridge_->stop();
    start();
    EXPECT_EQ(system_.runLoop.timerCount(), 1U);
    nextPoll();
    EXPECT_THAT(adb_.commands, ElementsAre("devices"));
}

TEST_F(AdbBridgeTest, ASecondStartReplacesTheListenerAndLeavesTwoTimersPolling) {
    start();
    std::vector<AdbState> heardByTheSecond;
    bridge_->start([&](const AdbState& state) { heardByTheSecond.push_back(state); });
    work();
    plugIn();
    nextPoll();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add, "devices", list, model, add));
    EXPECT_THAT(heard_, IsEmpty());
    EXPECT_THAT(heardByTheSecond, ElementsAre(AdbState::ready("Pixel 7")));

    bridge_->stop();
    nextPoll();
    EXPECT_THAT(adb_.commands, ElementsAre("devices", list, model, add)) << "the first timer goes on";
}

TEST_F(AdbBridgeTest, TimersAndJobsDoNotKeepItAlive) {
    bridge_->start({});
    const std::weak_ptr<AdbBridge> weak = bridge_;
    bridge_.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(AdbBridgeTest, ItsTimerEndsOnTheMainThreadWhereverItIsGivenUp) {
    bridge_->start({});
    bridge_.reset();
    EXPECT_EQ(system_.runLoop.timerCount(), 1U);
    system_.runLoop.runPending();
    EXPECT_EQ(system_.runLoop.timerCount(), 0U);
}

TEST_F(AdbBridgeTest, OnceItIsGoneItsTimerAndItsQueuedJobsDoNothing) {
    plugIn();
    bridge_->start([this](const AdbState& state) { heard_.push_back(state); });
    bridge_.reset();
    work();
    nextPoll();
    EXPECT_THAT(adb_.commands, IsEmpty());
    EXPECT_THAT(heard_, IsEmpty());
    EXPECT_EQ(system_.runLoop.timerCount(), 0U);
}

TEST_F(AdbBridgeTest, OnceItIsGoneAChangeOnItsWayIsNotReported) {
    plugIn();
    bridge_->start([this](const AdbState& state) { heard_.push_back(state); });
    system_.threads.runQueued();
    bridge_.reset();
    system_.runLoop.runPending();
    EXPECT_THAT(heard_, IsEmpty());
}

}  // namespace

}  // namespace orvane::test
