// The bridge's life, its choice of a phone, and the look it takes every three seconds.
#include "support/BluetoothBridgeSetup.h"

#include <gtest/gtest.h>

namespace orvane::test {

class BluetoothSelectionTest : public BluetoothBridgeSetup, public testing::Test {
  protected:
    std::optional<std::string> storedChoice() { return roles.userDefaults.string("btDevice"); }
    /// Which of the paired devices have been asked so far, and how often.
    std::vector<int> queryCounts() {
        std::vector<int> counts;
        for (const auto& device : bluetooth.paired)
            counts.push_back(static_cast<TestBluetoothDevice&>(*device).queryCount);
        return counts;
    }
};

TEST_F(BluetoothSelectionTest, IsOffAndDoesNothingBeforeStart) {
    addPixel();
    make(pixelAddress);
    loop.advance(60);
    EXPECT_EQ(bridge->state(), BtState::off);
    EXPECT_EQ(bridge->chosenAddress(), pixelAddress);
    EXPECT_EQ(pixel->queryCount, 0);
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(BluetoothSelectionTest, AsksForAPhoneWhenNoneIsChosen) {
    make();
    start();
    EXPECT_EQ(bridge->state(), BtState::noDevice);
    EXPECT_TRUE(heard.empty());  // Later, never from within the call.
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::noDevice}));
}

TEST_F(BluetoothSelectionTest, LooksForThePhoneOfTheLastRun) {
    addPixel();
    make(pixelAddress);
    start();
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::searching("Pixel")}));
}

TEST_F(BluetoothSelectionTest, CallsAPhoneByItsAddressWhenItHasNoName) {
    bluetooth.addDevice("aa", std::nullopt);
    make("aa");
    start();
    EXPECT_EQ(bridge->state(), BtState::searching("aa"));
}

TEST_F(BluetoothSelectionTest, CallsAPhoneByItsAddressWhenTheSystemDoesNotKnowIt) {
    make("bb");
    start();
    EXPECT_EQ(bridge->state(), BtState::searching("bb"));
    EXPECT_EQ(bridge->chosenName(), "bb");
}

TEST_F(BluetoothSelectionTest, QueriesTheChosenPhoneAtOnceAndEveryThreeSeconds) {
    addPixel();
    make(pixelAddress);
    start();
    EXPECT_EQ(pixel->queryCount, 1);
    loop.advance(2.9);
    EXPECT_EQ(pixel->queryCount, 1);
    loop.advance(0.1);
    EXPECT_EQ(pixel->queryCount, 2);
    loop.advance(30);
    EXPECT_EQ(pixel->queryCount, 12);
}

TEST_F(BluetoothSelectionTest, StopEndsTheTimerAndTurnsTheStateOff) {
    addPixel();
    make(pixelAddress);
    start();
    bridge->stop();
    EXPECT_EQ(bridge->state(), BtState::off);
    EXPECT_EQ(loop.timerCount(), 0U);
    loop.advance(60);
    EXPECT_EQ(pixel->queryCount, 1);
    EXPECT_EQ(heard, (std::vector{BtState::searching("Pixel"), BtState::off}));
}

TEST_F(BluetoothSelectionTest, StopClosesTheChannel) {
    openPixel();
    bridge->stop();
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_TRUE(channel->delegate.expired());
}

TEST_F(BluetoothSelectionTest, StopWhileAlreadyOffPostsNoNotification) {
    make();
    start();
    bridge->stop();
    loop.runPending();
    heard.clear();
    bridge->stop();
    EXPECT_EQ(loop.pendingCount(), 0U);
}

TEST_F(BluetoothSelectionTest, HandlerGetsTheStateAsItWasWhenItChanged) {
    addPixel();
    make();
    start();
    bridge->choose(pixelAddress);
    bridge->choose(std::nullopt);
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::noDevice, BtState::searching("Pixel"), BtState::noDevice}));
}

TEST_F(BluetoothSelectionTest, AFloodOfChangesIsHeardInPartAndToItsEnd) {
    openPixel();
    for (int i = 0; i < 10'000; ++i)
        receive(frame('R') + frame('D'));
    receive(frame('R'));
    EXPECT_EQ(loop.pendingCount(), BluetoothBridge::maxUnheard);
    loop.runPending();
    EXPECT_EQ(heard.size(), BluetoothBridge::maxUnheard);
    EXPECT_EQ(heard[0], BtState::testing("Pixel"));
    EXPECT_EQ(heard[1], BtState::searching("Pixel"));
    EXPECT_EQ(heard.back(), BtState::testing("Pixel"));
    heard.clear();
    receive(frame('D'));
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::searching("Pixel")}));
}

TEST_F(BluetoothSelectionTest, HandlerHearsNothingOfAStateThatIsTheSame) {
    make("bb");
    start();
    loop.runPending();
    heard.clear();
    bridge->sdpQueryComplete(nullptr, 0);  // Leads to `searching("bb")` again.
    loop.runPending();
    EXPECT_TRUE(heard.empty());
}

TEST_F(BluetoothSelectionTest, NothingIsHeardOfABridgeThatIsGone) {
    addPixel();
    make(pixelAddress);
    start();
    bridge.reset();
    loop.advance(60);
    EXPECT_TRUE(heard.empty());
    EXPECT_EQ(pixel->queryCount, 1);
    pixel->completeQuery();
    EXPECT_TRUE(pixel->openedIds.empty());
}

TEST_F(BluetoothSelectionTest, ABridgeThatGoesClosesItsChannel) {
    openPixel();
    bridge.reset();
    EXPECT_EQ(channel->closeCount, 1);
}

TEST_F(BluetoothSelectionTest, ChoosingThePhoneAlreadyChosenDoesNothing) {
    openPixel();
    bridge->choose(pixelAddress);
    EXPECT_EQ(channel->closeCount, 0);
    EXPECT_EQ(pixel->queryCount, 1);
    EXPECT_EQ(loop.pendingCount(), 0U);
}

TEST_F(BluetoothSelectionTest, ChoosingNoneWhenNoneIsChosenDoesNothing) {
    const auto phone = bluetooth.addDevice("aa", "A", true);
    make();
    start();
    loop.runPending();
    bridge->choose(std::nullopt);
    EXPECT_EQ(phone->queryCount, 1);
    EXPECT_EQ(loop.pendingCount(), 0U);
}

TEST_F(BluetoothSelectionTest, ChoosingAPhoneRemembersItAndQueriesItAtOnce) {
    addPixel();
    make();
    start();
    pixel->queryCount = 0;
    bridge->choose(pixelAddress);
    EXPECT_EQ(bridge->chosenAddress(), pixelAddress);
    EXPECT_EQ(storedChoice(), pixelAddress);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(pixel->queryCount, 1);
}

TEST_F(BluetoothSelectionTest, ChoosingAnotherPhoneEndsTheLink) {
    const auto other = bluetooth.addDevice("bb", "Galaxy");
    openPixel();
    bridge->choose("bb");
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_TRUE(channel->delegate.expired());
    EXPECT_EQ(bridge->state(), BtState::searching("Galaxy"));
    EXPECT_EQ(other->queryCount, 1);
}

TEST_F(BluetoothSelectionTest, ChoosingNoneForgetsThePhoneAndEndsTheLink) {
    openPixel();
    receive(frame('R'));
    bridge->choose(std::nullopt);
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_EQ(storedChoice(), std::nullopt);
    EXPECT_EQ(bridge->chosenAddress(), std::nullopt);
    EXPECT_EQ(bridge->state(), BtState::noDevice);
}

TEST_F(BluetoothSelectionTest, ChoosingNoneSweepsAtOnce) {
    openPixel();
    const int before = pixel->queryCount;
    bridge->choose(std::nullopt);
    EXPECT_EQ(pixel->queryCount, before + 1);
}

TEST_F(BluetoothSelectionTest, PairedDevicesHaveAnAddressAndComeOnce) {
    const auto first = bluetooth.addDevice("aa", "first");
    bluetooth.addDevice("", "no address")->addressValue.reset();
    bluetooth.addDevice("aa", "second of the same address");
    const auto last = bluetooth.addDevice("bb", std::nullopt);
    EXPECT_EQ(BluetoothBridge::pairedDevices(bluetooth),
              (std::vector<std::shared_ptr<BluetoothDevice>>{first, last}));
}

TEST_F(BluetoothSelectionTest, SweepQueriesThreeConnectedPhonesInTheOrderOneTwoZeroOne) {
    bluetooth.addDevice("aa", "A", true);
    bluetooth.addDevice("bb", "B", true);
    bluetooth.addDevice("cc", "C", true);
    make();
    start();
    EXPECT_EQ(queryCounts(), (std::vector{0, 1, 0}));
    loop.advance(3);
    EXPECT_EQ(queryCounts(), (std::vector{0, 1, 1}));
    loop.advance(3);
    EXPECT_EQ(queryCounts(), (std::vector{1, 1, 1}));
    loop.advance(3);
    EXPECT_EQ(queryCounts(), (std::vector{1, 2, 1}));
}

TEST_F(BluetoothSelectionTest, SweepLeavesOutPhonesThatAreNotConnected) {
    bluetooth.addDevice("aa", "A", false);
    bluetooth.addDevice("bb", "B", true);
    make();
    start();
    loop.advance(3);
    EXPECT_EQ(queryCounts(), (std::vector{0, 2}));
}

TEST_F(BluetoothSelectionTest, SweepWithNoConnectedPhoneEmptiesTheListSilently) {
    addPixel();
    make();
    start();
    pixel->completeQuery();
    ASSERT_EQ(bridge->offering().size(), 1U);
    loop.runPending();
    heard.clear();
    pixel->connected = false;
    loop.advance(3);
    EXPECT_TRUE(bridge->offering().empty());
    EXPECT_TRUE(heard.empty());
}

TEST_F(BluetoothSelectionTest, SweepsWhenTheSystemDoesNotKnowTheChosenPhone) {
    const auto phone = bluetooth.addDevice("aa", "A", true);
    make("gone");
    start();
    EXPECT_EQ(phone->queryCount, 1);
    EXPECT_EQ(bridge->state(), BtState::searching("gone"));
}

TEST_F(BluetoothSelectionTest, DoesNotSweepWhileAPhoneIsChosen) {
    addPixel();
    pixel->connected = false;
    const auto other = bluetooth.addDevice("bb", "Galaxy", true);
    make(pixelAddress);
    start();
    loop.advance(30);
    EXPECT_EQ(pixel->queryCount, 11);
    EXPECT_EQ(other->queryCount, 0);
}

TEST_F(BluetoothSelectionTest, LeavesAnOpenChannelAlone) {
    openPixel();
    loop.advance(60);
    EXPECT_EQ(pixel->queryCount, 1);
    EXPECT_EQ(channel->closeCount, 0);
}

TEST_F(BluetoothSelectionTest, AChannelThatHasBeenOpeningForExactlyEightSecondsIsNotTimedOut) {
    addPixel();
    make(pixelAddress);
    start();
    pixel->completeQuery();
    loop.advance(8.0);
    bridge->tick();
    EXPECT_EQ(pixel->lastChannel()->closeCount, 0);
    EXPECT_EQ(pixel->queryCount, 1);
}

TEST_F(BluetoothSelectionTest, AChannelThatHasBeenOpeningForLongerIsGivenUpAndLookedForInTheSameTick) {
    addPixel();
    make(pixelAddress);
    start();
    pixel->completeQuery();
    const auto opening = pixel->lastChannel();
    bridge->rfcommChannelData(opening, frame('R'));
    ASSERT_EQ(bridge->state(), BtState::testing("Pixel"));
    loop.advance(8.9);
    EXPECT_EQ(opening->closeCount, 0);
    loop.advance(0.1);  // The tick at nine seconds.
    EXPECT_TRUE(logged("Orvane: RFCOMM open timed out, retrying"));
    EXPECT_EQ(opening->closeCount, 1);
    EXPECT_TRUE(opening->delegate.expired());
    EXPECT_EQ(pixel->closeConnectionCount, 1);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(pixel->queryCount, 2);
}

TEST_F(BluetoothSelectionTest, APhoneWithoutANameThatTimesOutIsCalledPhone) {
    addPixel();
    make(pixelAddress);
    start();
    pixel->completeQuery();
    pixel->nameValue.reset();
    loop.advance(9);
    EXPECT_EQ(bridge->state(), BtState::searching("phone"));
}

}  // namespace orvane::test
