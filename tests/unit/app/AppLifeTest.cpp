// Start-up, the bridges' change handlers, and shutdown.
#include "bluetooth/BluetoothBridge.h"
#include "unit/app/AppDelegateFixture.h"
#include "usb/AdbBridge.h"

namespace orvane::test {

using testing::Contains;
using testing::ElementsAre;

class AppLifeTest : public AppDelegateTest {
  protected:
    /// Has the next probe find a ready phone of this model.
    void attachPhone(const std::string& model) {
        system.fileManager.executables.insert("/opt/orvane/share/orvane/adb");
        system.processes.onLaunch = [model](ScriptedTask& task) {
            if (!task.executable.ends_with("/adb")) return;
            if (task.arguments.front() == "devices") task.print("List of devices attached\nSERIAL\tdevice\n");
            if (task.arguments.back() == "ro.product.model") task.print(model + "\n");
            task.exit(0);
        };
    }
    void probe() {
        system.threads.runQueued();
        system.runLoop.runPending();
    }
};

TEST_F(AppLifeTest, MenuHasEveryRowInOrderAtStart) {
    launch();
    EXPECT_THAT(titles(menu()),
                ElementsAre("○ Waiting for phone…", "-", "Pairing code: …", "New Pairing Code…", "-",
                            "USB: checking…", "Bluetooth: choose a phone…", "-", "Phones: none",
                            "Keep phones in sync", "-", "Audio device: …", "", "-", "Show Log",
                            "Restart Server", "-", "Quit Orvane"));
}

TEST_F(AppLifeTest, RowsHaveTheirActionsAndKeysAtStart) {
    launch();
    EXPECT_EQ(statusRow().action(), MenuAction::none);
    EXPECT_EQ(pairingRow().action(), MenuAction::copyPairingCode);
    EXPECT_EQ(row(4).action(), MenuAction::newPairingCode);
    EXPECT_EQ(usbRow().action(), MenuAction::usbHelp);
    EXPECT_EQ(bluetoothRow().action(), MenuAction::none);
    EXPECT_EQ(phonesRow().action(), MenuAction::none);
    EXPECT_EQ(alignRow().action(), MenuAction::toggleAlign);
    EXPECT_EQ(deviceRow().action(), MenuAction::none);
    EXPECT_EQ(volumeRow().action(), MenuAction::fixDeviceVolume);
    EXPECT_EQ(row(15).action(), MenuAction::showLog);
    EXPECT_EQ(row(15).keyEquivalent(), "l");
    EXPECT_EQ(row(16).action(), MenuAction::restart);
    EXPECT_EQ(row(16).keyEquivalent(), "r");
    EXPECT_EQ(row(18).action(), MenuAction::quit);
    EXPECT_EQ(row(18).keyEquivalent(), "q");
    for (const std::size_t number : {1, 3, 4, 6, 7, 9, 10, 12, 13})
        EXPECT_EQ(row(number).keyEquivalent(), "") << number;
}

TEST_F(AppLifeTest, RowsHaveTheirStatesAtStart) {
    launch();
    EXPECT_FALSE(statusRow().isEnabled());
    EXPECT_FALSE(usbRow().isEnabled());
    EXPECT_TRUE(volumeRow().isHidden());
    EXPECT_EQ(alignRow().checkState(), CheckState::on);
    EXPECT_TRUE(alignRow().isShownEnabled());
    EXPECT_FALSE(phonesRow().isShownEnabled());
    EXPECT_FALSE(deviceRow().isShownEnabled());
    EXPECT_TRUE(bluetoothRow().isShownEnabled());
    EXPECT_TRUE(pairingRow().isShownEnabled());
}

TEST_F(AppLifeTest, BecomesAnAccessoryBeforeItMakesTheStatusItem) {
    launch();
    EXPECT_THAT(system.application.journal, ElementsAre("accessory", "status item"));
}

TEST_F(AppLifeTest, StatusRowSaysStartingUntilTheServerHasBeenLaunched) {
    std::string before;
    system.processes.onLaunch = [&](ScriptedTask&) { before = statusRow().title(); };
    launch();
    EXPECT_EQ(before, "Starting…");
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…");
}

TEST_F(AppLifeTest, TheSettingsAreClosedToOthersBeforeTheServerReadsThem) {
    std::size_t closedBefore = 0;
    system.processes.onLaunch = [&](ScriptedTask&) { closedBefore = system.fileManager.closed.size(); };
    launch();
    system.processes.onLaunch = {};
    EXPECT_EQ(closedBefore, 1U);
}

TEST_F(AppLifeTest, BridgesStartEvenWhenTheServerCannot) {
    system.processes.launchError = "no such file";
    launch();
    EXPECT_EQ(statusRow().title(), "⚠ Could not start server");
    EXPECT_EQ(bluetoothRow().title(), "Bluetooth: choose a phone…");
    EXPECT_EQ(system.threads.queuedCount(), 1U);
    EXPECT_EQ(system.threads.queueLabels, std::vector<std::string>{"audio.orvane.adb"});
}

TEST_F(AppLifeTest, TheTwoTimersAreTheOnlyOnesBesidesTheStableRunCheck) {
    launch();
    EXPECT_EQ(system.runLoop.timerCount(), 3U);
    system.runLoop.advance(31);
    EXPECT_EQ(system.runLoop.timerCount(), 2U);
}

TEST_F(AppLifeTest, TheTunnelLeadsToTheServersOwnPort) {
    launch();
    attachPhone("Pixel");
    probe();
    std::vector<std::vector<std::string>> commands;
    for (const auto& task : system.processes.tasks)
        commands.push_back(task->arguments);
    EXPECT_THAT(commands, Contains(ElementsAre("-s", "SERIAL", "reverse", "tcp:5555", "tcp:5555")));
}

TEST_F(AppLifeTest, UsbRowShowsTheStateAndIsEnabledOnlyForTheMissingTools) {
    launch();
    probe();
    EXPECT_EQ(usbRow().title(), "USB: Android tools not installed…");
    EXPECT_TRUE(usbRow().isEnabled());
    attachPhone("Pixel");
    system.runLoop.advance(2);
    probe();
    EXPECT_EQ(usbRow().title(), "USB: ready — Pixel");
    EXPECT_FALSE(usbRow().isEnabled());
}

TEST_F(AppLifeTest, OnlyAReadyTunnelIsLogged) {
    launch();
    probe();
    EXPECT_EQ(log(), "");
    attachPhone("Pixel");
    system.runLoop.advance(2);
    probe();
    EXPECT_EQ(log(), "USB tunnel ready — Pixel\n");
    attachPhone("Pixel 2");
    system.runLoop.advance(2);
    probe();
    EXPECT_EQ(log(), "USB tunnel ready — Pixel\nUSB tunnel ready — Pixel 2\n");
}

TEST_F(AppLifeTest, OnlyAReadyTunnelIsALink) {
    launch();
    probe();
    EXPECT_FALSE(system.application.linked);
    attachPhone("Pixel");
    system.runLoop.advance(2);
    probe();
    EXPECT_TRUE(system.application.linked);
    system.fileManager.executables.clear();
    system.runLoop.advance(2);
    probe();
    EXPECT_FALSE(system.application.linked);
}

TEST_F(AppLifeTest, AfterSleepUsbIsLookedAtAtOnce) {
    launch();
    probe();
    attachPhone("Pixel");
    delegate->systemDidWake();
    probe();
    EXPECT_EQ(usbRow().title(), "USB: ready — Pixel");
}

TEST_F(AppLifeTest, AModelNameIsReadLikeAnyOtherLogLine) {
    launch();
    attachPhone("pairing code: 1234");
    probe();
    EXPECT_EQ(delegate->pairingCode(), "1234");
}

TEST_F(AppLifeTest, WithoutAButtonTheIconIsSkipped) {
    system.application.statusButton = false;
    launch();
    serverPrints("phone=yes\n");
    EXPECT_EQ(system.application.statusItem->image, nullptr);
    EXPECT_EQ(system.application.statusItem->tintClearings, 0);
    EXPECT_EQ(statusRow().title(), "● 0 phones connected");
}

TEST_F(AppLifeTest, QuitStopsTheServerFirstAndThenTheApplication) {
    launch();
    system.application.onTerminate = [this] {
        EXPECT_EQ(server().terminations, 1);
        EXPECT_FALSE(server().terminationHandler);
        delegate->applicationWillTerminate();
    };
    menu().choose(row(18));
    EXPECT_THAT(system.application.journal, Contains("terminate"));
    EXPECT_EQ(server().terminations, 2);
    EXPECT_EQ(system.runLoop.timerCount(), 1U)
        << "both bridges' timers are stopped; the check of the server's age remains";
}

TEST_F(AppLifeTest, TerminationFromOutsideEndsTheServerAndNothingRestartsIt) {
    launch();
    delegate->applicationWillTerminate();
    system.runLoop.advance(60);
    EXPECT_EQ(server().terminations, 1);
    EXPECT_EQ(launches(), 1U);
    EXPECT_EQ(statusRow().title(), "○ Waiting for phone…")
        << "the exit of a server that was told to go shows nowhere";
}

TEST_F(AppLifeTest, QuitWithoutAServerStillQuits) {
    system.processes.launchError = "no such file";
    launch();
    delegate->quit();
    EXPECT_THAT(system.application.journal, Contains("terminate"));
}

TEST_F(AppLifeTest, QuitWhileARestartIsPendingLaunchesNoServer) {
    launch();
    serverExits(1);
    delegate->quit();
    system.runLoop.advance(20);
    EXPECT_EQ(launches(), 1U);
}

TEST_F(AppLifeTest, QuittingNoLongerListensForTheServersEndWhenItAsksForIt) {
    launch();
    bool listens = true;
    server().onTerminate = [&] { listens = static_cast<bool>(server().terminationHandler); };
    delegate->quit();
    EXPECT_FALSE(listens);
}

TEST_F(AppLifeTest, ASurfaceThatGoesWithTheControllerMayStillReportThatTheMenuCloses) {
    launch();
    const auto shown = system.application.statusItem->menu;
    menu().willOpen();
    serverLists({session(7, 1, "Kitchen")});
    system.application.statusItem->closesMenuAtItsEnd = true;
    const std::weak_ptr<BluetoothBridge> bridge = delegate->bt().weak_from_this();
    bool isInPlace = false;
    const MenuLook look(*shown, [&] { isInPlace = !bridge.expired(); });
    delegate.reset();
    EXPECT_EQ(shown->items().at(8)->title(), "Phones: 1 connected");
    EXPECT_TRUE(isInPlace) << "the rebuild put off came when its parts were gone";
}

TEST_F(AppLifeTest, NothingHappensOnceTheControllerIsGone) {
    launch();
    auto pipe = server().standardOutput;
    const auto task = system.processes.tasks.back();
    const auto shownMenu = system.application.statusItem->menu;
    delegate.reset();
    pipe->write("phone=yes\n");
    task->exit(1);
    system.threads.runQueued();
    system.runLoop.advance(60);
    EXPECT_EQ(launches(), 1U);
}

TEST_F(AppLifeTest, TheBluetoothSubmenuIsThereBeforeAnythingIsHeardOfTheBridge) {
    delegate->applicationDidFinishLaunching();
    EXPECT_NE(bluetoothRow().submenu(), nullptr);
}

}  // namespace orvane::test
