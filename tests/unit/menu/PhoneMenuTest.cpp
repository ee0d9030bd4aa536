// The phones row, the submenu of each phone, and the commands in them.
#include "menu/PhoneMenu.h"
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

using testing::ElementsAre;
using testing::EndsWith;

class PhoneMenuTest : public AppDelegateTest {
  protected:
    const std::string channelsFile = "/home/tester/Library/Application Support/Orvane/channels";
    const std::string deviceFile = "/home/tester/Library/Application Support/Orvane/device";

    void SetUp() override { launch(); }

    std::shared_ptr<Menu> detailsOf(std::size_t index) const {
        return phonesRow().submenu()->items().at(index)->submenu();
    }
    /// The submenu of a phone as it is when it has just opened.
    Menu& opened(std::size_t index) const {
        detailsOf(index)->needsUpdate();
        return *detailsOf(index);
    }
    void serverListsPhone(const std::string& rtt, const std::string& netDelay,
                          const std::string& format = "48k s16 mono") {
        serverPrints("sessions: 1\n" + PhoneLine{.slot = "2",
                                                 .firstChannel = "5",
                                                 .packets = "183204",
                                                 .xruns = "3",
                                                 .rttMs = rtt,
                                                 .netDelayMs = netDelay,
                                                 .label = "Left mic",
                                                 .format = format,
                                                 .name = "Kitchen phone"}
                                           .text());
    }
};

TEST_F(PhoneMenuTest, RowsSayNameChannelsAndDropouts) {
    serverLists({session(3, 3, "Kitchen", 2), session(4, 1, "Desk"), session(5, 5, "")});
    EXPECT_EQ(phonesRow().title(), "Phones: 3 connected");
    EXPECT_EQ(phonesRow().action(), MenuAction::none);
    EXPECT_THAT(titles(*phonesRow().submenu()),
                ElementsAre("Kitchen   →   ch 3–4  ⚠ 2", "Desk   →   ch 1–2", "   →   ch 5–6"));
    for (const auto& item : phonesRow().submenu()->items())
        EXPECT_EQ(item->action(), MenuAction::none);
}

TEST_F(PhoneMenuTest, ExactlyOnePhoneDisablesSyncAndTwoEnableIt) {
    serverLists({session(3, 3, "Kitchen")});
    EXPECT_EQ(phonesRow().title(), "Phones: 1 connected");
    EXPECT_FALSE(alignRow().isEnabled());
    serverLists({session(3, 3, "Kitchen"), session(4, 1, "Desk")});
    EXPECT_EQ(phonesRow().title(), "Phones: 2 connected");
    EXPECT_TRUE(alignRow().isEnabled());
}

TEST_F(PhoneMenuTest, WhenTheLastPhoneGoesTheRowHasNoSubmenu) {
    serverLists({session(3, 3, "Kitchen"), session(4, 1, "Desk")});
    serverPrints("sessions: 0\n");
    EXPECT_EQ(phonesRow().title(), "Phones: none connected");
    EXPECT_EQ(phonesRow().submenu(), nullptr);
    EXPECT_FALSE(alignRow().isEnabled());
}

TEST_F(PhoneMenuTest, SignatureNamesPhoneChannelNameAndDropouts) {
    serverLists({session(3, 1, "Kitchen"), session(4, 3, "Desk", 5)});
    EXPECT_EQ(phoneSignature(delegate->phones()), "3:1:Kitchen:false|4:3:Desk:true");
    EXPECT_EQ(phoneSignature({}), "");
}

TEST_F(PhoneMenuTest, DetailsAreFilledWhenTheSubmenuOpens) {
    serverListsPhone("11.5", "4.25");
    EXPECT_TRUE(detailsOf(0)->items().empty());
    EXPECT_THAT(titles(opened(0)),
                ElementsAre("Send to channels", "1–2", "-", "Buffer 42 ms (target 40 ms)",
                            "Profile: voice · 48K S16 MONO", "Network delay 4.2 ms", "Round trip 11.5 ms",
                            "Dropouts 3 · packets 183204", "Address Left mic"));
}

TEST_F(PhoneMenuTest, EveryDetailRowIsDisabledButTheChannels) {
    serverListsPhone("11.5", "4.25");
    for (const auto& item : opened(0).items()) {
        EXPECT_EQ(item->isShownEnabled(), item->action() == MenuAction::pickPhoneChannel) << item->title();
        if (item->isSeparator()) continue;
        EXPECT_EQ(item->isEnabled(), item->title() == "1–2") << item->title();
    }
}

TEST_F(PhoneMenuTest, DetailsAreThoseOfTheLatestStatusLine) {
    serverListsPhone("11.5", "4.25");
    opened(0);
    serverPrints("sessions: 1\n" + PhoneLine{.firstChannel = "5",
                                             .packets = "183999",
                                             .bufferMs = "50",
                                             .targetMs = "60",
                                             .xruns = "9",
                                             .rttMs = "1",
                                             .netDelayMs = "2",
                                             .preset = "music",
                                             .label = "Right",
                                             .format = "f",
                                             .name = "Kitchen phone"}
                                       .text());
    EXPECT_THAT(titles(opened(0)),
                ElementsAre("Send to channels", "1–2", "-", "Buffer 50 ms (target 60 ms)",
                            "Profile: music · F", "Network delay 2.0 ms", "Round trip 1.0 ms",
                            "Dropouts 9 · packets 183999", "Address Right"));
    EXPECT_EQ(phonesRow().submenu()->items().front()->title(), "Kitchen phone   →   ch 5–6  ⚠ 3")
        << "growing dropouts alone do not rebuild the row";
}

TEST_F(PhoneMenuTest, NetworkDelayOfZeroIsShownAndANegativeOneIsNot) {
    serverListsPhone("11.5", "0.0");
    EXPECT_THAT(titles(opened(0)), testing::Contains("Network delay 0.0 ms"));
    serverListsPhone("11.5", "-0.1");
    for (const auto& title : titles(opened(0)))
        EXPECT_FALSE(title.starts_with("Network")) << title;
    serverListsPhone("11.5", "nan");
    for (const auto& title : titles(opened(0)))
        EXPECT_FALSE(title.starts_with("Network")) << title;
}

TEST_F(PhoneMenuTest, RoundTripOfZeroIsHidden) {
    serverListsPhone("0.0", "1");
    for (const auto& title : titles(opened(0)))
        EXPECT_FALSE(title.starts_with("Round")) << title;
    serverListsPhone("0.01", "1");
    EXPECT_THAT(titles(opened(0)), testing::Contains("Round trip 0.0 ms"));
}

TEST_F(PhoneMenuTest, FormatIsShownInUpperCaseAsUnicodeHasIt) {
    serverListsPhone("1", "1", "größe ﬁ é");
    EXPECT_THAT(titles(opened(0)), testing::Contains("Profile: voice · GRÖSSE FI É"));
}

TEST_F(PhoneMenuTest, WithNoActiveDeviceOneChannelRowIsOffered) {
    serverListsDevices({device(false, 16, "a", "A")});
    serverListsPhone("1", "1");
    EXPECT_EQ(opened(0).items().at(1)->title(), "1–2");
    EXPECT_TRUE(opened(0).items().at(2)->isSeparator());
}

TEST_F(PhoneMenuTest, ASixteenChannelDeviceOffersEightRowsAndMarksThePhonesOwn) {
    serverListsDevices({device(false, 64, "x", "X"), device(true, 16, "a", "A"), device(true, 2, "b", "B")});
    serverListsPhone("1", "1");
    auto& details = opened(0);
    for (int pair = 0; pair < 8; ++pair) {
        const auto& item = *details.items().at(static_cast<std::size_t>(pair) + 1);
        EXPECT_EQ(item.title(), std::to_string(2 * pair + 1) + "–" + std::to_string(2 * pair + 2));
        EXPECT_EQ(item.checkState(), pair == 2 ? CheckState::on : CheckState::off);
        EXPECT_EQ(item.representedObject(), RepresentedObject(ChannelChoice{7, pair}));
    }
    EXPECT_TRUE(details.items().at(9)->isSeparator());
}

TEST_F(PhoneMenuTest, ADeviceThatClaimsEndlessChannelsDoesNotFillTheMemory) {
    serverPrints("devices: 1\ndevice:\t1\t9223372036854775807\t1\tu\tHuge\n");
    serverListsPhone("1", "1");
    EXPECT_EQ(std::ranges::count(opened(0).items(), MenuAction::pickPhoneChannel, &MenuItem::action), 512);
}

TEST_F(PhoneMenuTest, DetailsOfAPhoneThatHasGoneStayAsTheyAre) {
    serverListsPhone("1", "1");
    const auto details = detailsOf(0);
    details->needsUpdate();
    const auto before = titles(*details);
    serverPrints("sessions: 0\n");
    details->needsUpdate();
    EXPECT_EQ(titles(*details), before);
}

TEST_F(PhoneMenuTest, TwoPhonesOfOneIdShowTheFiguresOfTheFirst) {
    serverLists({session(7, 1, "A"), session(7, 3, "B", 4)});
    EXPECT_THAT(titles(opened(1)), testing::Contains("Dropouts 0 · packets 100"));
}

TEST_F(PhoneMenuTest, ANewDetailMenuBelongsToNoPhoneYet) {
    PhoneDetailMenu details;
    EXPECT_EQ(details.deviceId, 0U);
}

TEST_F(PhoneMenuTest, ChoosingAPairWritesTheFileAndLogsWithoutARestart) {
    serverListsDevices({device(true, 16, "a", "A")});
    serverListsPhone("1", "1");
    auto& details = opened(0);
    details.choose(*details.items().at(2));
    EXPECT_EQ(system.fileManager.files.at(channelsFile), "7=1\n");
    EXPECT_THAT(log(), EndsWith("\n— 7 → channels 3–4 —\n"));
    EXPECT_EQ(launches(), 1U);
    EXPECT_EQ(opened(0).items().at(2)->checkState(), CheckState::off)
        << "the mark follows what the server reports";
}

TEST_F(PhoneMenuTest, ChoicesOfAllPhonesAreKeptAndSortedAsText) {
    serverListsDevices({device(true, 16, "a", "A")});
    serverLists({session(7, 1, "A"), session(12, 3, "B")});
    opened(0).choose(*opened(0).items().at(2));
    serverPrints("sessions: 1\n" + session(12, 3, "B"));
    opened(0).choose(*opened(0).items().at(1));
    EXPECT_EQ(system.fileManager.files.at(channelsFile), "12=0\n7=1\n");
    opened(0).choose(*opened(0).items().at(8));
    EXPECT_EQ(system.fileManager.files.at(channelsFile), "12=7\n7=1\n");
}

TEST_F(PhoneMenuTest, ChoosingTheCheckedPairStillWritesAndLogs) {
    serverLists({session(7, 1, "A")});
    opened(0).choose(*opened(0).items().at(1));
    system.fileManager.files.clear();
    const auto before = log();
    opened(0).choose(*opened(0).items().at(1));
    EXPECT_EQ(system.fileManager.files.at(channelsFile), "7=0\n");
    EXPECT_EQ(log(), before + "\n— 7 → channels 1–2 —\n");
}

TEST_F(PhoneMenuTest, AFileThatCannotBeWrittenChangesNothingElse) {
    serverLists({session(7, 1, "A")});
    system.fileManager.failing = true;
    opened(0).choose(*opened(0).items().at(1));
    EXPECT_THAT(log(), EndsWith("\n— 7 → channels 1–2 —\n"));
    system.fileManager.failing = false;
    serverLists({session(8, 1, "B")});
    opened(0).choose(*opened(0).items().at(1));
    EXPECT_EQ(system.fileManager.files.at(channelsFile), "7=0\n8=0\n") << "the choice was remembered";
}

TEST_F(PhoneMenuTest, ARowThatStandsForSomethingElseChoosesNoChannel) {
    MenuItem item("1–2", MenuAction::pickPhoneChannel);
    const auto before = log();
    delegate->pickPhoneChannel(item);
    item.setRepresentedObject(DeviceChoice{"a", 0});
    delegate->pickPhoneChannel(item);
    EXPECT_TRUE(system.fileManager.journal.empty());
    EXPECT_EQ(log(), before);
}

TEST_F(PhoneMenuTest, SyncIsToggledWrittenLoggedAndTheServerRestarted) {
    serverLists({session(7, 1, "A"), session(8, 3, "B")});
    system.processes.journal.clear();
    menu().choose(alignRow());
    EXPECT_FALSE(delegate->alignStreams());
    EXPECT_EQ(alignRow().checkState(), CheckState::off);
    EXPECT_EQ(system.fileManager.files.at(deviceFile), "uid=\nchannel=0\nalign=0\n");
    EXPECT_THAT(log(), EndsWith("\n— stream alignment off —\n\n— restarting server —\n"));
    EXPECT_EQ(launches(), 2U);
    menu().choose(alignRow());
    EXPECT_EQ(system.fileManager.files.at(deviceFile), "uid=\nchannel=0\nalign=1\n");
    EXPECT_THAT(log(), EndsWith("\n— stream alignment on —\n\n— restarting server —\n"));
}

TEST_F(PhoneMenuTest, OneDropoutIsEnoughForTheWarning) {
    serverLists({session(3, 3, "Kitchen", 1)});
    EXPECT_EQ(phonesRow().submenu()->items().front()->title(), "Kitchen   →   ch 3–4  ⚠ 1");
}

TEST_F(PhoneMenuTest, AsManyPairsAreOfferedAsTheDeviceHas) {
    serverListsDevices({device(true, 64, "a", "A")});
    serverLists({session(3, 63, "Kitchen")});
    const auto& details = opened(0);
    EXPECT_EQ(details.items().at(32)->title(), "63–64");
    EXPECT_EQ(details.items().at(32)->checkState(), CheckState::on);
    EXPECT_TRUE(details.items().at(33)->isSeparator());
}

TEST_F(PhoneMenuTest, ThreePhonesCanBeKeptInSyncToo) {
    serverLists({session(3, 1, "A"), session(4, 3, "B"), session(5, 5, "C")});
    EXPECT_TRUE(alignRow().isEnabled());
}

TEST_F(PhoneMenuTest, ThePhonesRowLeadsSomewhereAgainWithTheNextPhone) {
    serverLists({session(3, 3, "Kitchen")});
    serverPrints("sessions: 0\n");
    EXPECT_FALSE(phonesRow().isShownEnabled());
    serverLists({session(3, 3, "Kitchen")});
    EXPECT_TRUE(phonesRow().isShownEnabled());
}

TEST_F(PhoneMenuTest, ChoosingAPairWritesThenLogs) {
    serverLists({session(7, 1, "A")});
    auto& details = opened(0);
    EXPECT_THAT(effectsOf([&] { details.choose(*details.items().at(1)); }, "7 → channels"),
                ElementsAre("write"));
}

TEST_F(PhoneMenuTest, TogglingSyncWritesThenLogsThenRestarts) {
    EXPECT_THAT(effectsOf([this] { delegate->toggleAlign(); }, "stream alignment"),
                ElementsAre("write", "end, logged", "launch, logged"));
}

}  // namespace orvane::test
