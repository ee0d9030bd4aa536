// What the rows of the menu do. A command that changes a setting writes the file first, then its line in the
// log, then restarts the server.
#include "app/AppDelegate.h"
#include "bluetooth/BluetoothBridge.h"
#include "menu/DeviceMenu.h"
#include "menu/Dialogs.h"
#include "menu/PhoneMenu.h"
#include "model/DeviceVolume.h"
#include "platform/Surface.h"

namespace orvane {

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

void AppDelegate::copyPairingCode() {
    if (!pairingCode_) return;
    platform_.pasteboard.clearContents();
    platform_.pasteboard.setString(*pairingCode_);
}

void AppDelegate::newPairingCode() {
    if (runAlert(Dialogs::newPairingCode()) != Dialogs::generateButton) return;
    settingsFiles_.deletePairing();
    pairingCode_.reset();
    pairingItem_->setTitle("Pairing code: …");
    ingest("\n— generating a new pairing code —\n");
    restart();
}

void AppDelegate::usbHelp() {
    runAlert(Dialogs::usbHelp());
}

void AppDelegate::installBlackHole() {
    const int answer = runAlert(Dialogs::installBlackHole());
    if (answer == Dialogs::openDownloadPageButton) {
        platform_.workspace.openUrl(Dialogs::downloadPage);
    } else if (answer == Dialogs::copyHomebrewCommandButton) {
        platform_.pasteboard.clearContents();
        platform_.pasteboard.setString(Dialogs::homebrewCommand);
    }
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
    const auto* choice = std::get_if<DeviceChoice>(&volumeItem_->representedObject());
    if (!choice) return;
    if (!DeviceVolume::setUnity(platform_.audioHardware, choice->uid)) return;
    ingest("\n— set " + choice->uid + " volume to 100% —\n");
    if (const auto* active = activeDevice(devices_)) refreshVolumeWarning(active->uid, active->name);
}

void AppDelegate::writeDeviceFile() {
    settingsFiles_.writeDevice(chosenUid_, chosenChannel_, alignStreams_);
}

}  // namespace orvane
