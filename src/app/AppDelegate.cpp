#include "app/AppDelegate.h"

#include "bluetooth/BluetoothBridge.h"
#include "menu/DeviceMenu.h"
#include "menu/Dialogs.h"
#include "menu/PhoneMenu.h"
#include "model/DeviceVolume.h"
#include "usb/AdbBridge.h"

#include <algorithm>
#include <utility>

namespace orvane {

AppDelegate::AppDelegate(const Platform& platform, std::uint16_t port)
    : platform_(platform),
      settingsFiles_(platform.fileManager),
      statusMenu_(platform.application, platform.images, platform.bundle),
      server_(std::make_shared<ServerProcess>(platform.runLoop, platform.processes, platform.bundle,
                                              static_cast<ServerProcess::Listener&>(*this))),
      adb_(std::make_shared<AdbBridge>(
          AdbBridge::Roles{platform.runLoop, platform.clock, platform.threads, platform.processes,
                           platform.fileManager, platform.bundle},
          port)),
      bt_(std::make_shared<BluetoothBridge>(
          BluetoothBridge::Roles{platform.runLoop, platform.clock, platform.threads, platform.userDefaults,
                                 platform.systemLog, platform.bluetooth, platform.isOurPort,
                                 platform.unreadBytes},
          port)) {}

AppDelegate::~AppDelegate() {
    // A surface that goes while the menu is open reports that it closes: nothing else must be gone by then.
    statusMenu_.remove();
}

// Life of the program.

void AppDelegate::applicationDidFinishLaunching() {
    platform_.application.becomeAccessory();
    statusMenu_.show(*this, *this);
    settingsFiles_.closeToOthers();
    startServer();
    adb_->start([weak = weak_from_this()](const AdbState& state) {
        if (const auto self = weak.lock()) self->usbChanged(state);
    });
    platform_.bluetooth.setRefusalHandler([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->bluetoothRefused();
    });
    platform_.audioHardware.setRecoveryHandler([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->checkVolumeAgain();
    });
    platform_.bluetooth.whenReady([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->startBluetooth();
    });
}

void AppDelegate::startBluetooth() {
    bt_->start([weak = weak_from_this()](const BtState& state) {
        if (const auto self = weak.lock()) self->bluetoothChanged(state);
    });
    rebuildBluetoothMenu();
}

void AppDelegate::usbChanged(const AdbState& state) {
    statusMenu_.setUsb(state.menuTitle(), state.isActionable());
    linksChanged();
    if (state.kind == AdbState::Kind::ready) ingest("USB tunnel ready — " + state.model + "\n");
}

void AppDelegate::bluetoothChanged(const BtState& state) {
    const bool live = state.kind == BtState::Kind::live;
    statusMenu_.setBluetoothTitle(state.menuTitle());
    // Before anything is shown: the tunnel must stand aside for the link, not for the menu.
    adb_->setSuspended(live || state.kind == BtState::Kind::testing);
    linksChanged();
    rebuildBluetoothMenu();
    if (live) ingest("Bluetooth link live — " + state.text + "\n");
}

void AppDelegate::bluetoothRefused() {
    ingest("Bluetooth is refused — " + platform_.remedies().allowBluetooth + "\n");
}

void AppDelegate::linksChanged() {
    const bool overUsb = adb_->state().kind == AdbState::Kind::ready;
    const bool overBluetooth = bt_->state().kind == BtState::Kind::live;
    platform_.application.setLinked(overUsb || overBluetooth);
}

void AppDelegate::systemDidWake() {
    adb_->poll();
    bt_->tick();
}

void AppDelegate::quit() {
    server_->quit();
    platform_.application.terminate();
}

void AppDelegate::applicationWillTerminate() {
    adb_->stop();
    bt_->stop();
    server_->quit();
}

// The server and its log.

void AppDelegate::startServer() {
    server_->start();
}

void AppDelegate::serverPrinted(std::string_view text) {
    ingest(text);
}

void AppDelegate::serverLaunched() {
    setStatus(waitingStatus(false), false);
}

void AppDelegate::serverNotLaunched(const std::string& error) {
    ingest("Failed to launch orvaned: " + error + "\n");
    setStatus("⚠ Could not start server", false);
}

void AppDelegate::serverExited(std::int32_t status, std::int64_t delay) {
    setStatus("⚠ Server stopped — restarting…", false);
    ingest("\n— orvaned exited (status " + std::to_string(status) + "); restarting in " +
           std::to_string(delay) + "s —\n");
}

void AppDelegate::restart() {
    server_->retire();
    ingest("\n— restarting server —\n");
    startServer();
}

void AppDelegate::showLog() {
    if (!logWindow_) {
        logWindow_ = platform_.logWindows.make({720, 420, "Orvane Server Log", 11});
    }
    logWindow_->update(log_);
    platform_.application.activateIgnoringOtherApps();
    logWindow_->makeKeyAndOrderFront();
}

void AppDelegate::ingest(std::string_view text) {
    log_.append(text);
    output_.read(text, [this](ServerEvent event) {
        std::visit([this](auto& each) { follow(std::move(each)); }, event);
    });
    // Once, however many lists of devices the text holds: each check asks the sound server.
    if (const auto due = std::exchange(volumeDue_, std::nullopt))
        refreshVolumeWarning(due->first, due->second);
    if (logWindow_) logWindow_->update(log_);
}

void AppDelegate::follow(DevicesListed event) {
    devices_ = std::move(event.devices);
    rebuildDeviceMenu();
    if (const auto* active = activeDevice(devices_)) volumeDue_ = {active->uid, active->name};
}

void AppDelegate::follow(PhonesListed event) {
    phones_ = std::move(event.phones);
    rebuildPhoneMenu();
}

void AppDelegate::follow(AlignmentReported event) {
    setAlign(event.on);
}

void AppDelegate::follow(PairingCodeAnnounced event) {
    setPairingCode(std::move(event.code));
}

void AppDelegate::follow(ConnectionReport event) {
    switch (event) {
        case ConnectionReport::wrongCode:
            return setStatus("⚠ Phone used the wrong pairing code", false);
        case ConnectionReport::locked:
            return setStatus("⚠ Too many wrong codes — paused", false);
        case ConnectionReport::connected:
            return setStatus(connectedStatus(phones_.size(), driverMissing_), true);
        case ConnectionReport::waiting:
            return setStatus(waitingStatus(driverMissing_), false);
    }
}

void AppDelegate::follow(RoutingReport event) {
    driverMissing_ = event == RoutingReport::defaultOutput;
}

// The status item and its menus.

void AppDelegate::setStatus(const std::string& text, bool connected) {
    statusMenu_.setStatus(text, connected);
}

void AppDelegate::rebuildPhoneMenu() {
    statusMenu_.showPhones(phones_, alignStreams_);
}

void AppDelegate::rebuildDeviceMenu() {
    if (!statusMenu_.showDevices(devices_)) return;
    volumeDue_.reset();
    if (devices_.empty()) return;
    const auto& shown = shownDevice(devices_);
    if (chosenUid_.empty() && shown.isActive) {
        chosenUid_ = shown.uid;
        chosenChannel_ = shown.firstChannel;
    }
    refreshVolumeWarning(shown.uid, shown.name);
}

void AppDelegate::rebuildBluetoothMenu() {
    BluetoothChoices choices{bt_->offering(), bt_->chosenAddress(), bt_->chosenName()};
    // Looked at every few seconds: a menu that somebody has open must not be exchanged for its equal.
    if (choices == shownBluetooth_) return;
    // A sweep puts the phone that it finds again last: no reason to move a row from under the pointer.
    if (shownBluetooth_ && choices.hasRowsOf(*shownBluetooth_) && statusMenu_.putOff()) return;
    shownBluetooth_ = choices;
    statusMenu_.setBluetoothMenu(makeBluetoothMenu(std::move(choices), this));
}

void AppDelegate::refreshVolumeWarning(const std::string& uid, const std::string& name) {
    volumeChecked_ = std::pair(uid, name);
    const auto volume = DeviceVolume::lowestScalar(platform_.audioHardware, uid);
    if (volume && *volume < fullVolume) {
        statusMenu_.setVolumeWarning({uid, 0}, name, *volume);
    } else {
        statusMenu_.hideVolumeWarning();
    }
}

/// A volume that could not be read in time hid the warning.
void AppDelegate::checkVolumeAgain() {
    if (!volumeChecked_ || devices_.empty()) return;
    const auto [uid, name] = *volumeChecked_;
    refreshVolumeWarning(uid, name);
}

void AppDelegate::menuNeedsUpdate(Menu& menu) {
    const auto* details = dynamic_cast<PhoneDetailMenu*>(&menu);
    if (!details) return;
    const auto phone = std::ranges::find(phones_, details->deviceId, &PhoneSession::deviceId);
    if (phone != phones_.end()) fillPhoneDetailMenu(menu, *phone, offeredPairs(devices_));
}

void AppDelegate::menuWillOpen(Menu& menu) {
    statusMenu_.willOpen(menu);
}

void AppDelegate::menuDidClose(Menu& menu) {
    if (!statusMenu_.didClose(menu)) return;
    rebuildPhoneMenu();
    rebuildDeviceMenu();
    rebuildBluetoothMenu();
}

// The commands of the menu.

void AppDelegate::perform(MenuItem& item) {
    if (alertShown_ && item.action() != MenuAction::quit)
        return platform_.application.activateIgnoringOtherApps();
    switch (item.action()) {
        case MenuAction::none:
            return;
        case MenuAction::copyPairingCode:
            return copyPairingCode();
        case MenuAction::newPairingCode:
            return newPairingCode();
        case MenuAction::usbHelp:
            return usbHelp();
        case MenuAction::pickBluetooth:
            return pickBluetooth(item);
        case MenuAction::pickPhoneChannel:
            return pickPhoneChannel(item);
        case MenuAction::toggleAlign:
            return toggleAlign();
        case MenuAction::pickDevice:
            return pickDevice(item);
        case MenuAction::installBlackHole:
            return installBlackHole();
        case MenuAction::fixDeviceVolume:
            return fixDeviceVolume();
        case MenuAction::showLog:
            return showLog();
        case MenuAction::restart:
            return restart();
        case MenuAction::quit:
            return quit();
    }
}

int AppDelegate::runAlert(const Alert& alert) {
    platform_.application.activateIgnoringOtherApps();
    alertShown_ = true;
    const int answer = platform_.application.runModal(alert);
    alertShown_ = false;
    return answer;
}

void AppDelegate::copy(const std::string& text) {
    platform_.pasteboard.clearContents();
    platform_.pasteboard.setString(text);
}

void AppDelegate::copyPairingCode() {
    if (!pairingCode_) return;
    const std::string code = *pairingCode_;  // A dialog may outlast it, and copies what it shows.
    if (platform_.pasteboard.isWithinReach() ||
        runAlert(Dialogs::pairingCode(code)) == Dialogs::copyCodeButton)
        copy(code);
}

void AppDelegate::newPairingCode() {
    if (runAlert(Dialogs::newPairingCode()) != Dialogs::generateButton) return;
    settingsFiles_.deletePairing();
    setPairingCode(std::nullopt);
    ingest("\n— generating a new pairing code —\n");
    restart();
}

void AppDelegate::setPairingCode(const std::optional<std::string>& code) {
    pairingCode_ = code;
    statusMenu_.setPairingCode(code);
}

void AppDelegate::usbHelp() {
    runAlert(Dialogs::usbHelp(platform_.remedies()));
}

void AppDelegate::installBlackHole() {
    const int answer = runAlert(Dialogs::installBlackHole(platform_.remedies()));
    if (answer == Dialogs::openDownloadPageButton) openPage(Dialogs::downloadPage);
    if (answer == Dialogs::copyHomebrewCommandButton) copy(Dialogs::homebrewCommand);
}

void AppDelegate::openPage(const std::string& url) {
    platform_.workspace.openUrl(url, [weak = weak_from_this(), url] {
        if (const auto self = weak.lock(); self && !self->alertShown_) self->offerAddress(url);
    });
}

void AppDelegate::offerAddress(const std::string& url) {
    if (runAlert(Dialogs::noBrowser(url)) == Dialogs::copyAddressButton) copy(url);
}

void AppDelegate::pickBluetooth(const MenuItem& sender) {
    const auto* address = std::get_if<std::string>(&sender.representedObject());
    bt_->choose(address && !address->empty() ? std::optional(*address) : std::nullopt);
    rebuildBluetoothMenu();
}

void AppDelegate::pickPhoneChannel(const MenuItem& sender) {
    const auto* choice = std::get_if<ChannelChoice>(&sender.representedObject());
    if (!choice) return;
    pinnedChannels_[choice->deviceId] = choice->pair;
    settingsFiles_.writeChannels(pinnedChannels_);
    ingest("\n— " + std::to_string(choice->deviceId) + " → channels " + pairLabel(choice->pair) + " —\n");
}

void AppDelegate::toggleAlign() {
    setAlign(!alignStreams_);
    writeDeviceFile();
    ingest(std::string("\n— stream alignment ") + (alignStreams_ ? "on" : "off") + " —\n");
    restart();
}

void AppDelegate::setAlign(bool align) {
    alignStreams_ = align;
    statusMenu_.setAligned(align);
}

void AppDelegate::pickDevice(const MenuItem& sender) {
    const auto* choice = std::get_if<DeviceChoice>(&sender.representedObject());
    if (!choice) return;
    chosenUid_ = choice->uid;
    chosenChannel_ = 0;
    writeDeviceFile();
    ingest("\n— audio device set to " + chosenUid_ + ", first phone on channels 1–2 —\n");
    restart();
}

void AppDelegate::fixDeviceVolume() {
    const auto* choice = statusMenu_.warnedDevice();
    if (!choice || !DeviceVolume::setUnity(platform_.audioHardware, choice->uid)) return;
    ingest("\n— set " + choice->uid + " volume to 100% —\n");
    if (const auto* active = activeDevice(devices_)) refreshVolumeWarning(active->uid, active->name);
}

void AppDelegate::writeDeviceFile() {
    settingsFiles_.writeDevice(chosenUid_, chosenChannel_, alignStreams_);
}

}  // namespace orvane
