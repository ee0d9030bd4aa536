// The line protocol of the server: which line does what, in which order, and what is ignored.
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

using testing::ElementsAre;

class IngestionTest : public AppDelegateTest {
  protected:
    void SetUp() override { launch(); }

    std::vector<std::string> phoneNames() const {
        std::vector<std::string> names;
        for (const auto& phone : delegate->phones())
            names.push_back(phone.name);
        return names;
    }
    std::vector<std::string> deviceNames() const {
        std::vector<std::string> names;
        for (const auto& each : delegate->devices())
            names.push_back(each.name);
        return names;
    }
};

TEST_F(IngestionTest, ADeviceBlockInOneChunkReplacesTheDevicesAndChecksTheVolumeOfTheFirstActiveOne) {
    system.audioHardware.all = {{"a", 1.0F, {}}, {"b", 0.5F, {}}, {"c", 0.25F, {}}};
    serverListsDevices({device(false, 2, "a", "A"), device(true, 16, "b", "B"), device(true, 16, "c", "C")});
    EXPECT_THAT(deviceNames(), ElementsAre("A", "B", "C"));
    EXPECT_EQ(volumeRow().title(), "⚠ B volume is 50% — click to set 100%");
}

TEST_F(IngestionTest, WithNoActiveDeviceTheVolumeIsNotCheckedAgain) {
    system.audioHardware.all = {{"a", 0.5F, {}}};
    serverListsDevices({device(false, 2, "a", "A")});
    EXPECT_FALSE(volumeRow().isHidden()) << "the rebuilt menu checks the device that it shows";
    system.audioHardware.all = {{"a", 1.0F, {}}};
    serverListsDevices({device(false, 2, "a", "A")});
    EXPECT_FALSE(volumeRow().isHidden());
}

TEST_F(IngestionTest, ADeviceReportChecksTheVolumeEvenWhenTheMenuStaysAsItIs) {
    system.audioHardware.all = {{"a", 1.0F, {}}};
    serverListsDevices({device(true, 2, "a", "A")});
    EXPECT_TRUE(volumeRow().isHidden());
    const auto submenu = deviceRow().submenu();
    system.audioHardware.all = {{"a", 0.5F, {}}};
    serverListsDevices({device(true, 2, "a", "A")});
    EXPECT_FALSE(volumeRow().isHidden());
    EXPECT_EQ(deviceRow().submenu(), submenu);
}

TEST_F(IngestionTest, ADeviceCountOfZeroEmptiesTheListAtOnce) {
    serverListsDevices({device(true, 2, "a", "A")});
    serverPrints("devices: 0\n");
    EXPECT_TRUE(delegate->devices().empty());
    EXPECT_EQ(deviceRow().title(), "⚠ No audio device — Install BlackHole…");
}

TEST_F(IngestionTest, ACountThatIsALetterEmptiesTheListAtOnce) {
    serverListsDevices({device(true, 2, "a", "A")});
    serverPrints("devices: x\n");
    EXPECT_TRUE(delegate->devices().empty());
    EXPECT_EQ(deviceRow().title(), "⚠ No audio device — Install BlackHole…");
}

TEST_F(IngestionTest, APhoneCountOfZeroEmptiesTheListAtOnce) {
    serverLists({session(7, 1, "Kitchen")});
    serverPrints("sessions: 0\n");
    EXPECT_TRUE(delegate->phones().empty());
    EXPECT_EQ(phonesRow().title(), "Phones: none connected");
}

TEST_F(IngestionTest, CountsAreReadAsSignedIntegersBetweenSpacesAndAnythingElseIsZero) {
    const std::string tooBig = "9223372036854775808";
    for (const std::string count :
         {"", " ", "2 phones", "0x2", "2.0", "--2", "+", "-", "two", tooBig.c_str()}) {
        serverLists({session(7, 1, "Kitchen")});
        ASSERT_EQ(delegate->phones().size(), 1U);
        serverPrints("sessions: " + count + "\n");
        EXPECT_TRUE(delegate->phones().empty()) << '"' << count << '"';
    }
    for (const std::string count : {"1", "+1", "01", " 1 ", "\t1\t", "\u00A01\u3000"}) {
        serverPrints("sessions: 0\n");
        serverPrints("sessions: " + count + "\n" + session(7, 1, "Kitchen"));
        EXPECT_EQ(delegate->phones().size(), 1U) << '"' << count << '"';
    }
}

TEST_F(IngestionTest, TheCountIsTheTextAfterTheFirstMarkerOfTheLine) {
    serverPrints("server has devices: 1\n" + device(true, 2, "a", "A"));
    EXPECT_THAT(deviceNames(), ElementsAre("A"));
    serverPrints("devices: 3 devices: 1\n");
    EXPECT_TRUE(delegate->devices().empty()) << "\"3 devices: 1\" is no number";
}

TEST_F(IngestionTest, ANegativeCountLeavesTheBlockOpenAndCommitsNothing) {
    serverLists({session(7, 1, "Kitchen")});
    serverPrints("sessions: -1\n" + session(8, 1, "Desk") + session(9, 3, "Hall"));
    EXPECT_THAT(phoneNames(), ElementsAre("Kitchen"));
    serverLists({session(10, 1, "Attic")});
    EXPECT_THAT(phoneNames(), ElementsAre("Attic"));
}

TEST_F(IngestionTest, APartialBlockShowsNowhere) {
    serverPrints("sessions: 2\n" + session(7, 1, "Kitchen"));
    EXPECT_TRUE(delegate->phones().empty());
    EXPECT_EQ(phonesRow().title(), "Phones: none");
    serverPrints(session(8, 3, "Desk"));
    EXPECT_THAT(phoneNames(), ElementsAre("Kitchen", "Desk"));
}

TEST_F(IngestionTest, AHeaderThrowsAwayWhatWasCollected) {
    serverPrints("sessions: 2\n" + session(7, 1, "Kitchen") + "sessions: 2\n" + session(8, 3, "Desk"));
    EXPECT_TRUE(delegate->phones().empty());
    serverPrints(session(9, 5, "Hall"));
    EXPECT_THAT(phoneNames(), ElementsAre("Desk", "Hall"));
}

TEST_F(IngestionTest, RecordsOutsideABlockAreNeverCommitted) {
    serverPrints(session(7, 1, "Kitchen"));
    EXPECT_TRUE(delegate->phones().empty());
    serverPrints("sessions: 1\n");
    EXPECT_TRUE(delegate->phones().empty());
    serverPrints(session(8, 3, "Desk") + session(9, 5, "Hall"));
    EXPECT_THAT(phoneNames(), ElementsAre("Desk"));
}

TEST_F(IngestionTest, OneBadRecordKeepsTheWholeBlockFromBeingCommitted) {
    serverLists({session(1, 1, "Old")});
    serverPrints("sessions: 2\n" + session(7, 1, "Kitchen") + "session:\tbroken\n");
    EXPECT_THAT(phoneNames(), ElementsAre("Old"));
    serverPrints(session(9, 5, "Hall"));
    EXPECT_THAT(phoneNames(), ElementsAre("Kitchen", "Hall")) << "the block waits for more records";
}

TEST_F(IngestionTest, DeviceAndPhoneBlocksMayBeMixed) {
    serverPrints("devices: 1\nsessions: 1\n" + device(true, 2, "a", "A") + session(7, 1, "Kitchen"));
    EXPECT_THAT(deviceNames(), ElementsAre("A"));
    EXPECT_THAT(phoneNames(), ElementsAre("Kitchen"));
}

TEST_F(IngestionTest, ALineCutByThePipeIsTwoFragmentsAndTheBlockStaysOpen) {
    const auto record = session(7, 1, "Kitchen");
    serverPrints("sessions: 1\n" + record.substr(0, 20));
    serverPrints(record.substr(20));
    EXPECT_TRUE(delegate->phones().empty());
    serverPrints(record);
    EXPECT_THAT(phoneNames(), ElementsAre("Kitchen"));
}

TEST_F(IngestionTest, EveryNewlineEndsALineAndEmptyLinesAreDropped) {
    for (const std::string newline :
         {"\n", "\v", "\f", "\r", "\r\n", "\u0085", "\u2028", "\u2029", "\n\n\r\n"}) {
        serverPrints("pairing code: old\n");
        serverPrints("x" + newline + "pairing code: new" + newline + "y");
        EXPECT_EQ(delegate->pairingCode(), "new");
    }
}

TEST_F(IngestionTest, LinesAreNotTrimmed) {
    serverLists({session(1, 1, "Old")});
    serverPrints("sessions: 1\n " + session(7, 1, "Kitchen"));
    EXPECT_THAT(phoneNames(), ElementsAre("Old"));
}

TEST_F(IngestionTest, RecordPrefixesCountOnlyAtTheStartOfALine) {
    serverPrints("devices: 1\nnew " + device(true, 2, "a", "A"));
    EXPECT_TRUE(delegate->devices().empty());
}

TEST_F(IngestionTest, MarkersAreCaseSensitive) {
    serverPrints(
        "Phone=yes\nPHONE=YES\nAlign=off\nPairing code: 1\nDevices: 0\nSessions: 0\nRouting to "
        "default-output\n");
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
    EXPECT_TRUE(delegate->alignStreams());
    EXPECT_FALSE(delegate->pairingCode());
    EXPECT_FALSE(delegate->driverMissing());
    EXPECT_EQ(deviceRow().title(), "Audio device: …");
}

TEST_F(IngestionTest, APhoneNamedLikeADeviceHeaderIsTakenForOne) {
    serverListsDevices({device(true, 2, "a", "A")});
    serverPrints("sessions: 1\n" + session(7, 1, "devices: mine"));
    EXPECT_TRUE(delegate->devices().empty());
    EXPECT_TRUE(delegate->phones().empty());
}

TEST_F(IngestionTest, TheFirstFourTestsAreExclusive) {
    serverPrints("sessions: 1 phone=yes align=off pairing code: 5\n");
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
    EXPECT_TRUE(delegate->alignStreams());
    EXPECT_FALSE(delegate->pairingCode());
    serverPrints("devices: 1\n" + device(true, 2, "a", "sessions: phone=yes"));
    EXPECT_THAT(deviceNames(), ElementsAre("sessions: phone=yes"))
        << "the device record is tested before the phone header";
}

TEST_F(IngestionTest, AlignmentReportsSetTheFlagAndTheMark) {
    serverPrints("align=off\n");
    EXPECT_FALSE(delegate->alignStreams());
    EXPECT_EQ(alignRow().checkState(), CheckState::off);
    serverPrints("now align=on again\n");
    EXPECT_TRUE(delegate->alignStreams());
    EXPECT_EQ(alignRow().checkState(), CheckState::on);
    serverPrints("align=on align=off\n");
    EXPECT_FALSE(delegate->alignStreams()) << "off is tested first";
}

TEST_F(IngestionTest, PairingCodeIsTrimmedAndShown) {
    serverPrints("pairing code: \t\u00A0 4 2-17 \u3000\n");
    EXPECT_EQ(delegate->pairingCode(), "4 2-17");
    EXPECT_EQ(pairingRow().title(), "Pairing code: 4 2-17   (click to copy)");
}

TEST_F(IngestionTest, AnEmptyPairingCodeIsACodeToo) {
    serverPrints("pairing code: \n");
    EXPECT_EQ(delegate->pairingCode(), "");
    EXPECT_EQ(pairingRow().title(), "Pairing code:    (click to copy)");
}

TEST_F(IngestionTest, ALineWithCodeAndRejectionSetsBoth) {
    serverPrints("pairing code: 42 pairing: REJECTED phone=yes routing to default-output\n");
    EXPECT_EQ(delegate->pairingCode(), "42 pairing: REJECTED phone=yes routing to default-output");
    EXPECT_EQ(statusRow().title(), "⚠ Phone used the wrong pairing code");
    EXPECT_FALSE(delegate->driverMissing()) << "a rejection ends the line's tests";
}

TEST_F(IngestionTest, RejectionAndLockAreShownAsNotConnected) {
    serverPrints("phone=yes\n");
    serverPrints("pairing: REJECTED\n");
    EXPECT_EQ(statusRow().title(), "⚠ Phone used the wrong pairing code");
    EXPECT_TRUE(system.application.statusItem->image->isTemplate);
    serverPrints("pairing: too many wrong codes, routing to default-output\n");
    EXPECT_EQ(statusRow().title(), "⚠ Too many wrong codes — paused");
    EXPECT_FALSE(delegate->driverMissing());
}

TEST_F(IngestionTest, ConnectedStatusCountsTheCommittedPhones) {
    serverPrints("phone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 0 phones connected");
    serverLists({session(7, 1, "A")});
    serverPrints("phone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 1 phone connected");
    serverLists({session(7, 1, "A"), session(8, 3, "B"), session(9, 5, "C")});
    EXPECT_EQ(statusRow().title(), "● 1 phone connected") << "only a status line changes the status";
    serverPrints("phone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 3 phones connected");
}

TEST_F(IngestionTest, StatusSaysWhenThereIsNoAudioDevice) {
    serverLists({session(7, 1, "A"), session(8, 3, "B")});
    serverPrints("routing to default-output\nphone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 2 phones (⚠ no audio device)");
    serverPrints("phone=waiting\n");
    EXPECT_EQ(statusRow().title(), "○ Waiting (⚠ no audio device)");
    serverLists({session(7, 1, "A")});
    serverPrints("phone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 1 phone (⚠ no audio device)");
    serverPrints("routing to VIRTUAL\nphone=waiting\n");
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
}

TEST_F(IngestionTest, TheStatusOfALineIsSetBeforeItsOwnRoutingIsRead) {
    serverPrints("phone=yes routing to default-output\n");
    EXPECT_EQ(statusRow().title(), "● 0 phones connected");
    EXPECT_TRUE(delegate->driverMissing());
}

TEST_F(IngestionTest, ALineThatRoutesToBothLeavesTheDriverFound) {
    serverPrints("routing to VIRTUAL, not routing to default-output\n");
    EXPECT_FALSE(delegate->driverMissing());
}

TEST_F(IngestionTest, YesIsTestedBeforeWaiting) {
    serverPrints("phone=waiting phone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 0 phones connected");
}

TEST_F(IngestionTest, UnknownLinesAreKeptInTheLogAndOtherwiseIgnored) {
    serverPrints("what is this\nsession: 1\ndevice: 1\nphones=yes\n");
    EXPECT_EQ(log(), "what is this\nsession: 1\ndevice: 1\nphones=yes\n");
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
}

TEST_F(IngestionTest, ABlockTooLongToBeMeantIsNotCollected) {
    serverLists({session(1, 1, "Old")});
    serverPrints("sessions: 9223372036854775807\n");
    for (int i = 0; i < 1000; ++i)
        serverPrints(session(7, 1, "Kitchen"));
    EXPECT_THAT(phoneNames(), ElementsAre("Old"));
    serverLists({session(8, 3, "Desk")});
    EXPECT_THAT(phoneNames(), ElementsAre("Desk"));
}

TEST(IngestionBeforeTheMenuTest, AMissingAlignmentRowIsTolerated) {
    TestPlatform system;
    const auto delegate = std::make_shared<AppDelegate>(system.platform);
    delegate->ingest("align=off\n");
    EXPECT_FALSE(delegate->alignStreams());
}

TEST_F(IngestionTest, ANameThatReadsLikeAHeaderIsTakenForOneBeforeTheRecordIsLookedFor) {
    serverPrints("devices: 1\n" + device(true, 2, "a", "devices: mine"));
    EXPECT_TRUE(delegate->devices().empty());
    serverPrints(device(true, 2, "b", "B"));
    EXPECT_TRUE(delegate->devices().empty()) << "the count \"mine\" has closed the block";

    serverLists({session(1, 1, "Old")});
    serverPrints("sessions: 1\n" + session(7, 1, "sessions: mine"));
    EXPECT_TRUE(delegate->phones().empty()) << "and emptied the list";
}

TEST_F(IngestionTest, ANegativeDeviceCountCommitsNothing) {
    serverListsDevices({device(true, 2, "a", "A")});
    serverPrints("devices: -1\n" + device(true, 2, "b", "B"));
    EXPECT_THAT(deviceNames(), ElementsAre("A"));
}

TEST_F(IngestionTest, AlignmentAndConnectionDoNotEndALinesTests) {
    serverPrints("align=off phone=waiting routing to default-output\n");
    EXPECT_FALSE(delegate->alignStreams());
    EXPECT_TRUE(delegate->driverMissing());
    serverPrints("align=on phone=waiting routing to VIRTUAL\n");
    EXPECT_EQ(statusRow().title(), "○ Waiting (⚠ no audio device)");
    EXPECT_FALSE(delegate->driverMissing());
}

TEST_F(IngestionTest, RejectionIsLookedForBeforeTheLock) {
    serverPrints("pairing: too many wrong codes after pairing: REJECTED\n");
    EXPECT_EQ(statusRow().title(), "⚠ Phone used the wrong pairing code");
}

TEST_F(IngestionTest, ListsMayBeLong) {
    std::vector<std::string> sessions;
    std::vector<std::string> devices;
    for (int i = 0; i < 100; ++i) {
        sessions.push_back(session(static_cast<std::uint32_t>(i), 1, "P"));
        devices.push_back(device(false, 2, std::to_string(i), "D"));
    }
    serverLists(sessions);
    serverListsDevices(devices);
    EXPECT_EQ(delegate->phones().size(), 100U);
    EXPECT_EQ(delegate->devices().size(), 100U);
}

TEST_F(IngestionTest, ADeviceReportRebuildsTheMenuOnce) {
    std::set<std::shared_ptr<Menu>> submenus;
    const MenuLook look(menu(), [&] {
        if (deviceRow().submenu()) submenus.insert(deviceRow().submenu());
    });
    serverListsDevices({device(true, 2, "a", "A"), device(false, 2, "b", "B")});
    EXPECT_EQ(submenus.size(), 1U);
}

TEST(IngestionBeforeTheMenuTest, TheMarkIsThatOfTheReportAsSoonAsThereArePhones) {
    TestPlatform system;
    const auto delegate = std::make_shared<AppDelegate>(system.platform);
    delegate->ingest("align=off\n");
    delegate->applicationDidFinishLaunching();
    delegate->ingest("sessions: 1\n" + PhoneLine{}.text());
    EXPECT_EQ(system.application.statusItem->menu->items().at(9)->checkState(), CheckState::off);
}

}  // namespace orvane::test
