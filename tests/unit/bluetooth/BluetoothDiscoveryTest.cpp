// Finding the service in a phone's records, and opening its channel.
#include "support/BluetoothBridgeSetup.h"

#include <gtest/gtest.h>

namespace orvane::test {

class BluetoothDiscoveryTest : public BluetoothBridgeSetup, public testing::Test {
  protected:
    using Offers = std::vector<BluetoothOffer>;

    /// Pixel chosen and queried; the answer is still to come.
    void queryPixel() {
        if (!pixel) addPixel();
        make(pixelAddress);
        start();
        loop.runPending();
        heard.clear();
    }
    const std::string& lastLine() { return roles.systemLog.lines.back(); }
};

TEST_F(BluetoothDiscoveryTest, AFailedQueryIsLoggedAndTheSearchGoesOn) {
    openPixel();
    receive(frame('R'));
    bridge->sdpQueryComplete(pixel, -536870212);
    EXPECT_EQ(lastLine(), "Orvane: SDP query for Pixel -> -536870212");
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(channel->closeCount, 0);
}

TEST_F(BluetoothDiscoveryTest, AFailedQueryCallsThePhoneByItsAddressWhenItHasNoName) {
    addPixel();
    pixel->nameValue.reset();
    queryPixel();
    pixel->completeQuery(4);
    EXPECT_EQ(lastLine(), "Orvane: SDP query for ? -> 4");
    EXPECT_EQ(bridge->state(), BtState::searching(pixelAddress));
}

TEST_F(BluetoothDiscoveryTest, AFailedQueryWithNoPhoneChosenLooksForAPhone) {
    const auto phone = bluetooth.addDevice("aa", "A", true);
    make();
    start();
    phone->completeQuery(1);
    EXPECT_EQ(bridge->state(), BtState::searching("phone"));
}

TEST_F(BluetoothDiscoveryTest, AnAnswerFromNoDeviceIsAFailure) {
    queryPixel();
    bridge->sdpQueryComplete(nullptr, 0);
    EXPECT_EQ(lastLine(), "Orvane: SDP query for ? -> 0");
    EXPECT_TRUE(pixel->openedIds.empty());
    EXPECT_TRUE(heard.empty());
}

TEST_F(BluetoothDiscoveryTest, APhoneWithTheServiceIsOfferedAndTheHandlerToldAtOnce) {
    addPixel();
    make();
    start();
    loop.runPending();
    heard.clear();
    pixel->completeQuery();
    EXPECT_EQ(bridge->offering(), (Offers{{pixelAddress, "Pixel"}}));
    EXPECT_EQ(heard, (std::vector{BtState::noDevice}));
}

TEST_F(BluetoothDiscoveryTest, AnOfferedPhoneWithoutANameGoesByItsAddress) {
    addPixel();
    pixel->nameValue.reset();
    make();
    start();
    pixel->completeQuery();
    EXPECT_EQ(bridge->offering(), (Offers{{pixelAddress, pixelAddress}}));
}

TEST_F(BluetoothDiscoveryTest, APhoneFoundAgainMovesToTheEndOfTheList) {
    addPixel();
    const auto other = bluetooth.addDevice("bb", "Galaxy", true);
    other->addRecord({serviceUuid}, "Orvane", 4);
    make();
    start();
    bridge->sdpQueryComplete(pixel, 0);
    bridge->sdpQueryComplete(other, 0);
    EXPECT_EQ(bridge->offering(), (Offers{{pixelAddress, "Pixel"}, {"bb", "Galaxy"}}));
    bridge->sdpQueryComplete(pixel, 0);
    EXPECT_EQ(bridge->offering(), (Offers{{"bb", "Galaxy"}, {pixelAddress, "Pixel"}}));
}

TEST_F(BluetoothDiscoveryTest, APhoneThatNoLongerHasTheServiceLeavesTheList) {
    addPixel();
    make();
    start();
    pixel->completeQuery();
    pixel->records.clear();
    bridge->sdpQueryComplete(pixel, 0);
    EXPECT_TRUE(bridge->offering().empty());
}

TEST_F(BluetoothDiscoveryTest, AnAnswerFromAPhoneThatIsNotChosenOpensNothing) {
    queryPixel();
    const auto other = bluetooth.addDevice("bb", "Galaxy", true);
    other->addRecord({serviceUuid}, "Orvane", 4);
    bridge->sdpQueryComplete(other, 0);
    EXPECT_EQ(bridge->offering(), (Offers{{"bb", "Galaxy"}}));
    EXPECT_EQ(heard.size(), 1U);
    EXPECT_TRUE(other->openedIds.empty());
}

TEST_F(BluetoothDiscoveryTest, AnAddressRememberedInAnotherCaseIsThatPhones) {
    addPixel();
    bluetooth.byAddress["AA-BB-CC-DD-EE-01"] = pixel;
    make("AA-BB-CC-DD-EE-01");
    start();
    pixel->completeQuery();
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{7}));
}

TEST_F(BluetoothDiscoveryTest, AnAnswerThatArrivesWhileAChannelIsBeingOpenedOpensNoSecondOne) {
    queryPixel();
    pixel->completeQuery();
    bridge->sdpQueryComplete(pixel, bluetoothSuccess);
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{7}));
    loop.advance(3);
    EXPECT_EQ(pixel->queryCount, 1) << "nothing is asked meanwhile";
}

TEST_F(BluetoothDiscoveryTest, ATickOfAChosenPhoneKeepsWhatIsOnOffer) {
    queryPixel();
    pixel->completeQuery(bluetoothSuccess);
    pixel->lastChannel()->openComplete(1);
    ASSERT_EQ(bridge->offering(), (Offers{{pixelAddress, "Pixel"}}));
    pixel->connected = false;
    loop.advance(3);
    EXPECT_EQ(bridge->offering(), (Offers{{pixelAddress, "Pixel"}}));
}

TEST_F(BluetoothDiscoveryTest, AnAttemptWithoutAChannelToTryDoesNotCount) {
    addPixel({3, 12});
    const auto records = std::exchange(pixel->records, {});
    queryPixel();
    pixel->completeQuery();
    pixel->records = records;
    loop.advance(3);
    pixel->completeQuery();
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{12}));
}

TEST_F(BluetoothDiscoveryTest, AClosedChannelIsNoLongerHeardWhenItIsClosed) {
    queryPixel();
    pixel->completeQuery();
    bool heardAtClose = true;
    pixel->lastChannel()->onClose = [&](const TestRfcommChannel& closed) {
        heardAtClose = !closed.delegate.expired();
    };
    bridge->stop();
    EXPECT_FALSE(heardAtClose);
}

TEST_F(BluetoothDiscoveryTest, AnAnswerThatArrivesWhileAChannelExistsChangesNothing) {
    openPixel();
    pixel->records.clear();
    bridge->sdpQueryComplete(pixel, 0);
    EXPECT_EQ(lastLine(), "Orvane: SDP query for Pixel -> 0");
    EXPECT_EQ(bridge->offering(), (Offers{{pixelAddress, "Pixel"}}));
    loop.runPending();
    EXPECT_TRUE(heard.empty());
}

TEST_F(BluetoothDiscoveryTest, APhoneWithTheNameOfTheServiceOnlyIsOpenedWhenChosenButNotOffered) {
    addPixel({});
    pixel->addRecord({}, "Orvane", 9);
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{9}));
    EXPECT_TRUE(bridge->offering().empty());
}

TEST_F(BluetoothDiscoveryTest, AServiceWithOurUuidIsOursWhateverItIsCalled) {
    addPixel({});
    pixel->addRecord({serviceUuid}, "Something else", 7);
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{7}));
}

TEST_F(BluetoothDiscoveryTest, AServiceOfAnotherNameOrUuidIsNotOurs) {
    auto almost = serviceUuid;
    almost[15] ^= 1;
    addPixel({});
    pixel->addRecord({almost}, "orvane", 1);
    pixel->addRecord({}, "Orvane ", 2);
    pixel->addRecord({}, std::nullopt, 3);
    queryPixel();
    pixel->completeQuery();
    EXPECT_TRUE(pixel->openedIds.empty());
    EXPECT_TRUE(bridge->offering().empty());
}

TEST_F(BluetoothDiscoveryTest, EachAttemptTakesTheNextChannelFromTheHighestDown) {
    addPixel({3, 12, 3, 5});
    queryPixel();
    for (int attempt = 0; attempt < 4; ++attempt) {
        bridge->sdpQueryComplete(pixel, 0);
        pixel->lastChannel()->openComplete(1);
    }
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{12, 5, 3, 12}));
    EXPECT_TRUE(logged("Orvane: opening RFCOMM channel 12 on Pixel (of 12,5,3)"));
    EXPECT_TRUE(logged("Orvane: opening RFCOMM channel 3 on Pixel (of 12,5,3)"));
}

TEST_F(BluetoothDiscoveryTest, ChannelZeroAndRecordsWithoutAChannelDoNotCount) {
    addPixel({0});
    pixel->addRecord({serviceUuid}, "Orvane", std::nullopt);
    pixel->addRecord({serviceUuid}, "Orvane", 30);
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{30}));
    EXPECT_TRUE(logged("Orvane: opening RFCOMM channel 30 on Pixel (of 30)"));
}

TEST_F(BluetoothDiscoveryTest, APhoneWithoutTheServiceIsLookedAtAgainNextTime) {
    addPixel({});
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(lastLine(), "Orvane: Pixel has no Orvane service");
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(heard.size(), 1U);
    loop.advance(3);
    EXPECT_EQ(pixel->queryCount, 2);
}

TEST_F(BluetoothDiscoveryTest, APhoneWithoutTheServiceOrANameIsCalledPhone) {
    addPixel({});
    pixel->nameValue.reset();
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(lastLine(), "Orvane: ? has no Orvane service");
    EXPECT_EQ(bridge->state(), BtState::searching("phone"));
}

TEST_F(BluetoothDiscoveryTest, ARefusedChannelIsLoggedAndTheNextAttemptTakesAnother) {
    addPixel({3, 5});
    pixel->openStatus = -7;
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(lastLine(), "Orvane: channel 5 refused (-7)");
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    loop.advance(3);
    pixel->completeQuery();  // Only possible because no channel was kept.
    EXPECT_EQ(pixel->openedIds, (std::vector<std::uint8_t>{5, 3}));
}

TEST_F(BluetoothDiscoveryTest, ARefusedChannelTakesTheFailureOfTheLastOneAway) {
    openPixel();
    receive(frame('?'));
    ASSERT_EQ(bridge->state().kind, BtState::Kind::failed);
    pixel->openStatus = -7;
    loop.advance(3);
    pixel->completeQuery();
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothDiscoveryTest, OpeningAChannelOfANamelessPhoneLogsAQuestionMark) {
    addPixel();
    pixel->nameValue.reset();
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(lastLine(), "Orvane: opening RFCOMM channel 7 on ? (of 7)");
}

TEST_F(BluetoothDiscoveryTest, StartingToOpenKeepsTheState) {
    queryPixel();
    pixel->completeQuery();
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(heard.size(), 1U);  // The direct call after the query; no change.
}

TEST_F(BluetoothDiscoveryTest, OpeningForgetsWhatTheLastChannelLeftBehind) {
    openPixel();
    receive(frame('P', "12345") + Bytes{'P', 0, 0});
    channel->closedByPhone();
    bridge->sdpQueryComplete(pixel, 0);
    channel = pixel->lastChannel();
    channel->openComplete();
    receive(frame('E'));
    EXPECT_EQ(channel->takeWritten(), (Bytes{'e', 0, 0, 0, 4, 0, 0, 0, 0}));
}

TEST_F(BluetoothDiscoveryTest, ASuccessfulOpenKeepsTheStateAndWritesNothing) {
    queryPixel();
    pixel->completeQuery();
    heard.clear();
    pixel->lastChannel()->openComplete();
    loop.runPending();
    EXPECT_EQ(lastLine(), "Orvane: RFCOMM open -> 0");
    EXPECT_TRUE(heard.empty());
    EXPECT_TRUE(pixel->lastChannel()->pieces.empty());
}

TEST_F(BluetoothDiscoveryTest, AFailedOpenEndsTheChannelAndTheSearchGoesOn) {
    queryPixel();
    pixel->completeQuery();
    const auto opening = pixel->lastChannel();
    opening->openComplete(-112);
    EXPECT_EQ(lastLine(), "Orvane: RFCOMM open -> -112");
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(opening->closeCount, 1);
    EXPECT_TRUE(opening->delegate.expired());
    loop.advance(3);
    EXPECT_EQ(pixel->queryCount, 2);
}

TEST_F(BluetoothDiscoveryTest, AFailedOpenDoesNotReplaceTheStateWithAnythingElse) {
    openPixel();
    receive(frame('R'));
    channel->openComplete(5);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothDiscoveryTest, AClosedChannelOfTheChosenPhoneIsLookedForAgain) {
    openPixel();
    receive(frame('R'));
    channel->closedByPhone();
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_EQ(channel->closeCount, 1);
    loop.advance(3);
    EXPECT_EQ(pixel->queryCount, 2);
}

TEST_F(BluetoothDiscoveryTest, ACloseWithNoPhoneChosenAsksForOne) {
    const auto nameless = bluetooth.addDevice("", "Nameless", true);
    nameless->addressValue.reset();
    nameless->addRecord({serviceUuid}, "Orvane", 7);
    make();
    start();
    bridge->sdpQueryComplete(nameless, 0);  // No address, and none chosen: the same, so it is opened.
    ASSERT_TRUE(nameless->lastChannel());
    bridge->rfcommChannelData(nameless->lastChannel(), frame('R'));
    ASSERT_EQ(bridge->state(), BtState::testing("phone"));
    nameless->lastChannel()->closedByPhone();
    EXPECT_EQ(bridge->state(), BtState::noDevice);
    EXPECT_TRUE(bridge->offering().empty());
}

TEST_F(BluetoothDiscoveryTest, ACloseAfterAFailureLeavesTheFailureInTheTitle) {
    openPixel();
    receive(frame('A'));  // Nobody listens.
    ASSERT_EQ(bridge->state().kind, BtState::Kind::failed);
    channel->closedByPhone();
    EXPECT_EQ(bridge->state().menuTitle(), "Bluetooth: the receiver is not accepting connections");
}

TEST_F(BluetoothDiscoveryTest, AFailureStaysWhenTheChannelIsOpenAgain) {
    openPixel();
    receive(frame('?'));
    loop.advance(3);
    pixel->completeQuery();
    pixel->lastChannel()->openComplete();
    EXPECT_EQ(bridge->state(), BtState::failed("unexpected data from the phone"));
}

}  // namespace orvane::test
