#include "app/AppDelegate.h"

#include "bluetooth/BluetoothBridge.h"
#include "usb/AdbBridge.h"

namespace orvane {

AppDelegate::AppDelegate(const Platform& platform, std::uint16_t port)
    : platform_(platform),
      settingsFiles_(platform.fileManager),
      adb_(std::make_shared<AdbBridge>(platform_, port)),
      bt_(std::make_shared<BluetoothBridge>(
          BluetoothBridge::Roles{platform.runLoop, platform.clock, platform.threads, platform.userDefaults,
                                 platform.systemLog, platform.bluetooth},
          port)) {}

AppDelegate::~AppDelegate() {
    // A surface that goes while the menu is open reports that it closes: nothing else must be gone by then.
    statusItem_.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
    platform_.application.becomeAccessory();
    statusItem_ = platform_.application.makeStatusItem();
    if (statusItem_->hasButton()) {
        statusItem_->clearContentTintColor();
        statusItem_->setImage(baseIcon());
    }
    buildMenu();
    startServer();
    adb_->start([weak = weak_from_this()](const AdbState& state) {
        if (const auto self = weak.lock()) self->usbChanged(state);
    });
    bt_->start([weak = weak_from_this()](const BtState& state) {
        if (const auto self = weak.lock()) self->bluetoothChanged(state);
    });
    rebuildBluetoothMenu();
}

void AppDelegate::buildMenu() {
    menu_ = std::make_shared<Menu>();
    statusLine_ = menu_->add("Starting…");
    statusLine_->setEnabled(false);
    menu_->addSeparator();
    pairingItem_ = menu_->add("Pairing code: …", MenuAction::copyPairingCode);
    menu_->add("New Pairing Code…", MenuAction::newPairingCode);
    menu_->addSeparator();
    usbItem_ = menu_->add("USB: checking…", MenuAction::usbHelp);
    usbItem_->setEnabled(false);
    btItem_ = menu_->add("Bluetooth: off");
    menu_->addSeparator();
    phonesItem_ = menu_->add("Phones: none");
    alignItem_ = menu_->add("Keep phones in sync", MenuAction::toggleAlign);
    alignItem_->setChecked(true);
    menu_->addSeparator();
    deviceItem_ = menu_->add("Audio device: …");
    volumeItem_ = menu_->add("", MenuAction::fixDeviceVolume);
    volumeItem_->setHidden(true);
    menu_->addSeparator();
    menu_->add("Show Log", MenuAction::showLog, "l");
    menu_->add("Restart Server", MenuAction::restart, "r");
    menu_->addSeparator();
    menu_->add("Quit Orvane", MenuAction::quit, "q");

    menu_->setTarget(this);
    menu_->setDelegate(this);
    statusItem_->setMenu(menu_);
}

void AppDelegate::usbChanged(const AdbState& state) {
    usbItem_->setTitle(state.menuTitle());
    usbItem_->setEnabled(state.isActionable());
    if (state.kind == AdbState::Kind::ready) ingest("USB tunnel ready — " + state.model + "\n");
}

void AppDelegate::bluetoothChanged(const BtState& state) {
    const bool live = state.kind == BtState::Kind::live;
    btItem_->setTitle(state.menuTitle());
    // Before anything is shown: the tunnel must stand aside for the link, not for the menu.
    adb_->setSuspended(live || state.kind == BtState::Kind::testing);
    rebuildBluetoothMenu();
    if (live) ingest("Bluetooth link live — " + state.text + "\n");
}

void AppDelegate::quit() {
    quitting_ = true;
    if (task_) {
        task_->setTerminationHandler({});
        task_->terminate();
    }
    platform_.application.terminate();
}

void AppDelegate::applicationWillTerminate() {
    quitting_ = true;
    adb_->stop();
    bt_->stop();
    if (task_) task_->terminate();
}

}  // namespace orvane
