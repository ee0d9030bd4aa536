// What the controller makes of the Bluetooth bridge: its row and submenu, the tunnel that stands aside, the
// log.
#include "app/AppDelegate.h"
#include "support/BluetoothBridgeSetup.h"
#include "usb/AdbBridge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;

class AppBluetoothTest : public BluetoothBridgeSetup, public testing::Test {
  protected:
    void launch(const std::optional<std::string>& chosen = std::nullopt) {
        if (chosen) roles.userDefaults.setString(chosen, "btDevice");
        delegate = std::make_shared<AppDelegate>(platform, server.port());
        delegate->applicationDidFinishLaunching();
        loop.runPending();
    }
    /// Pixel is the chosen phone, and its channel is open.
    void launchWithPixel() {
        addPixel();
        launch(pixelAddress);
        pixel->completeQuery();
        channel = pixel->lastChannel();
        channel->openComplete();
        loop.runPending();
    }
    void phoneSends(const Bytes& bytes) {
        receive(bytes);
        loop.runPending();
    }
    ServerConnection attach() {
        server.listen();
        phoneSends(frame('A'));
        return server.accept();
    }

    Menu& menu() const { return *roles.application.statusItem->menu; }
    MenuItem& bluetoothRow() const { return *menu().items().at(6); }
    MenuItem& choice(std::size_t index) const { return *bluetoothRow().submenu()->items().at(index); }
    std::vector<std::string> choices() const {
        std::vector<std::string> titles;
        for (const auto& item : bluetoothRow().submenu()->items())
            titles.push_back((item->checkState() == CheckState::on ? "✓ " : "") + item->title());
        return titles;
    }
    void choose(std::size_t index) {
        const auto submenu = bluetoothRow().submenu();  // The choice puts another in its place.
        submenu->choose(*submenu->items().at(index));
    }
    bool tunnelStandsAside() const { return delegate->adb().isSuspended(); }
    std::string log() const { return std::string(delegate->log().text()); }

    std::shared_ptr<AppDelegate> delegate;
};

TEST_F(AppBluetoothTest, ARefusalIsLoggedWithWhereItIsTakenBackAndTheRowStays) {
    platform.remedies = [] {
        Remedies remedies;
        remedies.allowBluetooth = "allow it there";
        return remedies;
    };
    launch();
    const std::string title = bluetoothRow().title();
    bluetooth.refuse();
    EXPECT_EQ(log(), "Bluetooth is refused — allow it there\n");
    EXPECT_EQ(bluetoothRow().title(), title);
}

TEST_F(AppBluetoothTest, ARefusalThatIsToldLateFindsNobody) {
    launch();
    delegate.reset();
    bluetooth.refuse();
}

TEST_F(AppBluetoothTest, ASweepThatFindsNothingNewKeepsTheSubmenu) {
    addPixel();
    launch();
    pixel->completeQuery();
    const auto submenu = bluetoothRow().submenu();
    ASSERT_THAT(choices(), ElementsAre("✓ Off", "", "Pixel"));
    for (int i = 0; i < 40; ++i) {
        loop.advance(3);
        pixel->completeQuery();
    }
    EXPECT_EQ(bluetoothRow().submenu(), submenu);

    pixel->nameValue = "Pixel 9";
    loop.advance(3);
    pixel->completeQuery();
    EXPECT_NE(bluetoothRow().submenu(), submenu);
    EXPECT_THAT(choices(), ElementsAre("✓ Off", "", "Pixel 9"));
}

TEST_F(AppBluetoothTest, ThePhoneIsLookedForOnceTheSystemsDevicesAreKnown) {
    bluetooth.isReady = false;
    launch(pixelAddress);
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: off");
    addPixel();
    ASSERT_TRUE(bluetooth.waiting);
    bluetooth.waiting();
    loop.runPending();
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: looking for Pixel…");
    EXPECT_THAT(choices(), ElementsAre("Off", "", "✓ Pixel"));
    EXPECT_EQ(pixel->queryCount, 1);
}

TEST_F(AppBluetoothTest, TwoPhonesFoundByTurnsKeepTheirRowsWhileTheMenuIsOpen) {
    addPixel();
    const auto galaxy = bluetooth.addDevice("bb", "Galaxy", true);
    galaxy->addRecord({serviceUuid}, "Orvane", 7);
    launch();
    galaxy->completeQuery();
    loop.advance(3);
    pixel->completeQuery();
    ASSERT_THAT(choices(), ElementsAre("✓ Off", "", "Galaxy", "Pixel"));
    menu().willOpen();
    const auto submenu = bluetoothRow().submenu();
    loop.advance(3);
    galaxy->completeQuery();
    EXPECT_EQ(bluetoothRow().submenu(), submenu);

    menu().didClose();
    EXPECT_THAT(choices(), ElementsAre("✓ Off", "", "Pixel", "Galaxy"));

    menu().willOpen();
    pixel->nameValue = "Pixel 9";
    loop.advance(3);
    pixel->completeQuery();
    EXPECT_THAT(choices(), ElementsAre("✓ Off", "", "Galaxy", "Pixel 9")) << "what is new is shown at once";
    menu().didClose();
}

TEST_F(AppBluetoothTest, TheSubmenuIsThereFromTheStart) {
    launch();
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: choose a phone…");
    EXPECT_THAT(choices(), ElementsAre("✓ Off", "", "No phone is offering Orvane",
                                       "Open Orvane on the phone and choose Bluetooth"));
}

TEST_F(AppBluetoothTest, TheRowSaysHowTheLinkStands) {
    launchWithPixel();
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: looking for Pixel…");
    phoneSends(frame('R'));
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: testing the link to Pixel…");
    const auto connection = attach();
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: streaming from Pixel");
    phoneSends(frame('?'));
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: unexpected data from the phone");
}

TEST_F(AppBluetoothTest, TheTunnelStandsAsideWhileALinkIsTestedOrLiveAndNoLonger) {
    launchWithPixel();
    EXPECT_FALSE(tunnelStandsAside());
    phoneSends(frame('R'));
    EXPECT_TRUE(tunnelStandsAside()) << "testing";
    phoneSends(frame('D'));
    EXPECT_FALSE(tunnelStandsAside()) << "searching";
    const auto connection = attach();
    EXPECT_TRUE(tunnelStandsAside()) << "live";
    phoneSends(frame('?'));
    EXPECT_FALSE(tunnelStandsAside()) << "failed";
}

TEST_F(AppBluetoothTest, TheTunnelIsUsedAgainWhenThePhoneIsNoLongerChosen) {
    launchWithPixel();
    phoneSends(frame('R'));
    delegate->bt().choose(std::nullopt);
    loop.runPending();
    EXPECT_FALSE(tunnelStandsAside());
}

TEST_F(AppBluetoothTest, OnlyALiveLinkIsLogged) {
    launchWithPixel();
    phoneSends(frame('R') + frame('D'));
    EXPECT_EQ(log(), "");
    const auto connection = attach();
    EXPECT_EQ(log(), "Bluetooth link live — Pixel\n");
    phoneSends(frame('D'));
    EXPECT_EQ(log(), "Bluetooth link live — Pixel\n");
}

TEST_F(AppBluetoothTest, OnlyALiveLinkIsALink) {
    launchWithPixel();
    phoneSends(frame('R'));
    EXPECT_FALSE(roles.application.linked);
    const auto connection = attach();
    EXPECT_TRUE(roles.application.linked);
    phoneSends(frame('D'));
    EXPECT_FALSE(roles.application.linked);
}

TEST_F(AppBluetoothTest, AfterSleepTheChosenPhoneIsLookedForAtOnce) {
    addPixel();
    launch(pixelAddress);
    const int asked = pixel->queryCount;
    delegate->systemDidWake();
    EXPECT_EQ(pixel->queryCount, asked + 1);
}

TEST_F(AppBluetoothTest, TheTunnelStandsAsideBeforeTheMenuIsRebuiltAndTheLogComesLast) {
    launchWithPixel();
    const auto before = bluetoothRow().submenu();
    std::string seen;
    const MenuLook look(menu(), [&] {
        if (!seen.empty() || bluetoothRow().submenu() == before) return;
        seen = bluetoothRow().title() + (tunnelStandsAside() ? ", aside" : ", not aside");
        EXPECT_EQ(log(), "");
    });
    pixel->nameValue = "Pixel 9";  // So that the submenu is another one.
    const auto connection = attach();
    EXPECT_EQ(seen, "Bluetooth: streaming from Pixel 9, aside");
    EXPECT_EQ(log(), "Bluetooth link live — Pixel 9\n");
}

TEST_F(AppBluetoothTest, APhoneOnOfferIsListedThoughTheStateIsTheSame) {
    addPixel();
    launch();
    pixel->completeQuery();
    EXPECT_THAT(choices(), ElementsAre("✓ Off", "", "Pixel"));
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: choose a phone…");
}

TEST_F(AppBluetoothTest, ChoosingAPhoneRemembersItAndMarksItAtOnce) {
    addPixel();
    launch();
    pixel->completeQuery();
    choose(2);
    EXPECT_EQ(roles.userDefaults.string("btDevice"), pixelAddress);
    EXPECT_THAT(choices(), ElementsAre("Off", "", "✓ Pixel"));
    loop.runPending();
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: looking for Pixel…");
}

TEST_F(AppBluetoothTest, ChoosingOffForgetsThePhone) {
    launchWithPixel();
    choose(0);
    EXPECT_EQ(roles.userDefaults.string("btDevice"), std::nullopt);
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_THAT(choices(), ElementsAre("✓ Off", "", "Pixel"));
    loop.runPending();
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: choose a phone…");
}

TEST_F(AppBluetoothTest, TheChosenPhoneIsListedEvenWhenItIsNotOnOffer) {
    launch("11-22-33-44-55-66");
    EXPECT_THAT(choices(), ElementsAre("Off", "", "✓ 11-22-33-44-55-66"));
}

TEST_F(AppBluetoothTest, ARowThatStandsForNoAddressChoosesNoPhone) {
    launchWithPixel();
    MenuItem item("Pixel", MenuAction::pickBluetooth);
    item.setRepresentedObject(DeviceChoice{pixelAddress, 0});
    delegate->pickBluetooth(item);
    EXPECT_EQ(delegate->bt().chosenAddress(), std::nullopt);
}

TEST_F(AppBluetoothTest, LeavingEndsTheLink) {
    launchWithPixel();
    ServerConnection connection = attach();
    roles.processes.tasks.front()->onTerminate = [this] {
        EXPECT_EQ(channel->closeCount, 1) << "the server goes last";
    };
    delegate->applicationWillTerminate();
    roles.processes.tasks.front()->onTerminate = {};
    EXPECT_EQ(roles.processes.tasks.front()->terminations, 1);
    EXPECT_TRUE(connection.atEnd());
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_EQ(delegate->bt().state(), BtState::off);
}

}  // namespace orvane::test
