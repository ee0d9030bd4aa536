// The icons, and when the menus are rebuilt, left alone, or rebuilt later.
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

using testing::ElementsAre;

class MenuRefreshTest : public AppDelegateTest {
  protected:
    void SetUp() override { launch(); }
    RecordedStatusItem& item() const { return *system.application.statusItem; }
};

TEST_F(MenuRefreshTest, BaseIconIsTheFileOfTheResourcesAsATemplateOfEighteenPoints) {
    EXPECT_EQ(item().image->source, "/opt/orvane/share/orvane/menubar.png");
    EXPECT_EQ(item().image->size(), (ImageSize{18, 18}));
    EXPECT_TRUE(item().image->isTemplate);
}

TEST_F(MenuRefreshTest, AMenuThatClosesWithNothingPutOffStaysAsItWas) {
    menu().willOpen();
    menu().didClose();
    EXPECT_EQ(deviceRow().title(), "Audio device: …");
}

TEST_F(MenuRefreshTest, ConnectedIconIsTheBaseIconFilledGreenAndNoTemplate) {
    delegate->setStatus("● 1 phone connected", true);
    EXPECT_EQ(item().image->source, "green /opt/orvane/share/orvane/menubar.png");
    EXPECT_EQ(item().image->size(), (ImageSize{18, 18}));
    EXPECT_FALSE(item().image->isTemplate);
}

TEST_F(MenuRefreshTest, DisconnectedAfterConnectedPutsTheTemplateBack) {
    const auto base = item().image;
    delegate->setStatus("● 1 phone connected", true);
    const auto green = item().image;
    delegate->setStatus("○ Waiting for phone…", false);
    EXPECT_EQ(item().image, base);
    delegate->setStatus("● 1 phone connected", true);
    EXPECT_EQ(item().image, green);
    EXPECT_EQ(system.images.made, 2) << "each icon is made once";
}

/// Before the program has started.
class IconAtStartTest : public AppDelegateTest {};

TEST_F(IconAtStartTest, TintIsClearedAlready) {
    system.processes.onLaunch = [this](ScriptedTask&) {
        EXPECT_EQ(system.application.statusItem->tintClearings, 1);
        EXPECT_NE(system.application.statusItem->image, nullptr);
    };
    launch();
    EXPECT_EQ(launches(), 1U);
}

TEST_F(MenuRefreshTest, TintIsClearedWithEveryStatus) {
    const int before = item().tintClearings;
    delegate->setStatus("a", true);
    delegate->setStatus("b", true);
    delegate->setStatus("c", false);
    EXPECT_EQ(item().tintClearings, before + 3);
}

TEST_F(IconAtStartTest, WithoutTheFileTheIconIsTheSystemsMicrophone) {
    system.images.hasFile = false;
    launch();
    EXPECT_EQ(system.application.statusItem->image->source, "symbol mic.fill (Orvane)");
    EXPECT_EQ(system.application.statusItem->image->size(), (ImageSize{18, 18}));
    EXPECT_TRUE(system.application.statusItem->image->isTemplate);
    delegate->setStatus("x", true);
    EXPECT_EQ(system.application.statusItem->image->source, "green symbol mic.fill (Orvane)");
}

TEST_F(IconAtStartTest, WithoutAResourceFolderTheIconIsTheSystemsMicrophone) {
    system.bundle.resourceDirectory.reset();
    launch();
    EXPECT_EQ(system.application.statusItem->image->source, "symbol mic.fill (Orvane)");
}

TEST_F(IconAtStartTest, WithoutAnySymbolTheIconIsEmpty) {
    system.images.hasFile = false;
    system.images.hasSymbol = false;
    launch();
    EXPECT_EQ(system.application.statusItem->image->source, "empty");
    EXPECT_EQ(system.application.statusItem->image->size(), (ImageSize{18, 18}));
}

TEST_F(MenuRefreshTest, WithNoPhonesAtStartTheRowKeepsItsFirstTitle) {
    serverPrints("sessions: 0\n");
    EXPECT_EQ(phonesRow().title(), "Phones: none");
    serverLists({session(7, 1, "Kitchen")});
    serverPrints("sessions: 0\n");
    EXPECT_EQ(phonesRow().title(), "Phones: none connected");
}

TEST_F(MenuRefreshTest, StatisticsNeverRebuildThePhoneMenu) {
    serverPrints("sessions: 1\n" + PhoneLine{}.text());
    const auto submenu = phonesRow().submenu();
    serverPrints("sessions: 1\n" + PhoneLine{.slot = "5",
                                             .packets = "999",
                                             .bufferMs = "1",
                                             .targetMs = "2",
                                             .rttMs = "0.5",
                                             .netDelayMs = "9",
                                             .preset = "music",
                                             .label = "M",
                                             .format = "G"}
                                       .text());
    EXPECT_EQ(phonesRow().submenu(), submenu);
    EXPECT_EQ(delegate->phones().front().packets, 999U);
}

TEST_F(MenuRefreshTest, EverythingInThePhoneSignatureRebuildsThePhoneMenu) {
    serverLists({session(7, 1, "Kitchen")});
    auto submenu = phonesRow().submenu();
    const auto rebuilt = [&](const std::vector<std::string>& sessions) {
        serverLists(sessions);
        return std::exchange(submenu, phonesRow().submenu()) != phonesRow().submenu();
    };
    EXPECT_FALSE(rebuilt({session(7, 1, "Kitchen")}));
    EXPECT_TRUE(rebuilt({session(8, 1, "Kitchen")}));
    EXPECT_TRUE(rebuilt({session(8, 3, "Kitchen")}));
    EXPECT_TRUE(rebuilt({session(8, 3, "Desk")}));
    EXPECT_TRUE(rebuilt({session(8, 3, "Desk", 1)}));
    EXPECT_FALSE(rebuilt({session(8, 3, "Desk", 2)})) << "only whether there are dropouts counts";
    EXPECT_TRUE(rebuilt({session(8, 3, "Desk", 0)}));
    EXPECT_FALSE(rebuilt({session(8, 3, "Desk", -1)}));
    EXPECT_TRUE(rebuilt({session(8, 3, "Desk"), session(9, 5, "Hall")}));
    EXPECT_TRUE(rebuilt({session(9, 5, "Hall"), session(8, 3, "Desk")}));
}

TEST_F(MenuRefreshTest, EverythingInTheDeviceSignatureRebuildsTheDeviceMenu) {
    serverListsDevices({device(true, 16, "a", "A")});
    auto submenu = deviceRow().submenu();
    const auto rebuilt = [&](const std::vector<std::string>& devices) {
        serverListsDevices(devices);
        return std::exchange(submenu, deviceRow().submenu()) != deviceRow().submenu();
    };
    EXPECT_FALSE(rebuilt({device(true, 16, "a", "A")}));
    EXPECT_FALSE(rebuilt({device(true, 16, "a", "Another name")})) << "the name is not part of it";
    EXPECT_TRUE(rebuilt({device(true, 16, "b", "A")}));
    EXPECT_TRUE(rebuilt({device(false, 16, "b", "A")}));
    EXPECT_TRUE(rebuilt({device(false, 2, "b", "A")}));
    EXPECT_TRUE(rebuilt({device(false, 2, "b", "A"), device(false, 2, "c", "C")}));
}

TEST_F(MenuRefreshTest, NothingIsReplacedWhileTheMenuIsOpen) {
    serverLists({session(7, 1, "Kitchen")});
    serverListsDevices({device(true, 16, "a", "A")});
    const auto phones = phonesRow().submenu();
    const auto devices = deviceRow().submenu();
    menu().willOpen();
    serverLists({session(8, 3, "Desk"), session(9, 5, "Hall")});
    serverListsDevices({device(true, 2, "b", "B")});
    EXPECT_EQ(phonesRow().submenu(), phones);
    EXPECT_EQ(phonesRow().title(), "Phones: 1 connected");
    EXPECT_EQ(deviceRow().submenu(), devices);
    menu().didClose();
    EXPECT_EQ(phonesRow().title(), "Phones: 2 connected");
    EXPECT_EQ(deviceRow().title(), "Audio device: B");
}

TEST_F(MenuRefreshTest, AChangeTakenBackWhileTheMenuIsOpenRebuildsNothing) {
    serverLists({session(7, 1, "Kitchen")});
    const auto phones = phonesRow().submenu();
    menu().willOpen();
    serverLists({session(8, 3, "Desk")});
    serverLists({session(7, 1, "Kitchen")});
    menu().didClose();
    EXPECT_EQ(phonesRow().submenu(), phones);
}

TEST_F(MenuRefreshTest, StatusTextIsShownEvenWhileTheMenuIsOpen) {
    menu().willOpen();
    serverPrints("phone=yes\n");
    EXPECT_EQ(statusRow().title(), "● 0 phones connected");
}

TEST_F(MenuRefreshTest, PhonesAreRebuiltBeforeDevicesWhenTheMenuCloses) {
    menu().willOpen();
    serverListsDevices({device(false, 2, "a", "A")});
    serverLists({session(7, 1, "Kitchen")});
    std::vector<std::string> titles;
    const MenuLook look(menu(), [&] { titles.push_back(phonesRow().title() + ", " + deviceRow().title()); });
    menu().didClose();
    ASSERT_FALSE(titles.empty());
    EXPECT_EQ(titles.front(), "Phones: 1 connected, Audio device: …");
    EXPECT_EQ(deviceRow().title(), "Audio device: A");
}

TEST_F(MenuRefreshTest, ADeferredRebuildRunsOnce) {
    menu().willOpen();
    serverLists({session(7, 1, "Kitchen")});
    menu().didClose();
    const auto phones = phonesRow().submenu();
    menu().willOpen();
    menu().didClose();
    EXPECT_EQ(phonesRow().submenu(), phones);
}

TEST_F(MenuRefreshTest, ASubmenuNeitherOpensNorClosesTheStatusMenu) {
    serverLists({session(7, 1, "Kitchen")});
    serverListsDevices({device(true, 16, "a", "A")});
    const auto phones = phonesRow().submenu();
    const auto details = phones->items().front()->submenu();
    delegate->menuWillOpen(*details);
    serverLists({session(8, 3, "Desk")});
    EXPECT_NE(phonesRow().submenu(), phones) << "an open submenu alone defers nothing";
    menu().willOpen();
    delegate->menuDidClose(*details);
    delegate->menuDidClose(*deviceRow().submenu());
    serverLists({session(9, 5, "Hall")});
    EXPECT_EQ(phonesRow().submenu()->items().front()->title(), "Desk   →   ch 3–4")
        << "the status menu is still open";
    menu().didClose();
}

TEST_F(MenuRefreshTest, AnEmptyDeviceListIsAlwaysShownAgainAndDeferredLikeAnyOther) {
    menu().willOpen();
    serverPrints("devices: 0\n");
    EXPECT_EQ(deviceRow().title(), "Audio device: …");
    menu().didClose();
    EXPECT_EQ(deviceRow().title(), "⚠ No audio device — Install BlackHole…");
    volumeRow().setHidden(false);
    serverPrints("devices: 0\n");
    EXPECT_TRUE(volumeRow().isHidden());
}

TEST_F(MenuRefreshTest, NoTroubleAndNoWaitingIsEverGreen) {
    const auto isGreenAfter = [this](const std::function<void()>& event) {
        serverPrints("phone=yes\n");
        EXPECT_FALSE(item().image->isTemplate);
        event();
        return !item().image->isTemplate;
    };
    for (const std::string line : {"phone=waiting", "pairing: REJECTED", "pairing: too many wrong codes",
                                   "routing to default-output\nphone=waiting"})
        EXPECT_FALSE(isGreenAfter([&] { serverPrints(line + "\n"); })) << line;
    EXPECT_FALSE(isGreenAfter([&] { serverExits(1); })) << "server stopped";
    EXPECT_FALSE(isGreenAfter([&] { delegate->restart(); })) << "server started";
    system.processes.launchError = "It is not there.";
    EXPECT_FALSE(isGreenAfter([&] { delegate->restart(); })) << "server not started";
}

TEST_F(MenuRefreshTest, OnlyTheStatusMenuItselfMakesUpForWhatWasPutOffAndOnlyOnce) {
    menu().willOpen();
    serverPrints("devices: 0\n");
    menu().didClose();
    volumeRow().setHidden(false);  // Each time the missing device is shown, it is hidden.
    menu().willOpen();
    menu().didClose();
    EXPECT_FALSE(volumeRow().isHidden()) << "shown again, though nothing was put off";
    delegate->menuDidClose(*bluetoothRow().submenu());
    EXPECT_FALSE(volumeRow().isHidden()) << "shown again for a submenu";
}

}  // namespace orvane::test
