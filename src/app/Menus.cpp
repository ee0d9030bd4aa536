// The status item and what its menus show, rebuilt only when something that shows has changed, and never
// while the menu is open.
#include "app/AppDelegate.h"
#include "bluetooth/BluetoothBridge.h"
#include "menu/BluetoothMenu.h"
#include "menu/DeviceMenu.h"
#include "menu/PhoneMenu.h"
#include "model/DeviceVolume.h"
#include "platform/Bundle.h"
#include "platform/Surface.h"

#include <algorithm>

namespace orvane {

namespace {

constexpr ImageSize iconSize{18, 18};

std::shared_ptr<Image> loadBaseIcon(const Platform& platform) {
    if (const auto resources = platform.bundle.resourceDirectory()) {
        if (auto image = platform.images.load(*resources + "/menubar.png")) return image;
    }
    if (auto image = platform.images.systemSymbol("mic.fill", "Orvane")) return image;
    return platform.images.empty();
}

}  // namespace

const std::shared_ptr<Image>& AppDelegate::baseIcon() {
    if (!baseIcon_) {
        baseIcon_ = loadBaseIcon(platform_);
        baseIcon_->setSize(iconSize);
        baseIcon_->setTemplate(true);
    }
    return baseIcon_;
}

const std::shared_ptr<Image>& AppDelegate::greenIcon() {
    if (!greenIcon_) {
        greenIcon_ = platform_.images.filledWithSystemGreen(*baseIcon());
        greenIcon_->setTemplate(false);
    }
    return greenIcon_;
}

void AppDelegate::setStatus(const std::string& text, bool connected) {
    statusLine_->setTitle(text);
    if (!statusItem_->hasButton()) return;
    statusItem_->clearContentTintColor();
    statusItem_->setImage(connected ? greenIcon() : baseIcon());
}

bool AppDelegate::shouldRebuild(std::string& lastSignature, const std::string& signature, bool always) {
    if (signature == lastSignature && !always) return false;
    if (rootMenuOpen_) {
        rebuildWhenClosed_ = true;
        return false;
    }
    lastSignature = signature;
    return true;
}

void AppDelegate::rebuildPhoneMenu() {
    if (!shouldRebuild(lastPhoneSignature_, phoneSignature(phones_), false)) return;
    if (phones_.empty()) {
        phonesItem_->setTitle("Phones: none connected");
        phonesItem_->setSubmenu(nullptr);
        alignItem_->setEnabled(false);
        return;
    }
    const auto menu = std::make_shared<Menu>();
    for (const auto& phone : phones_) {
        const auto details = std::make_shared<PhoneDetailMenu>();
        details->deviceId = phone.deviceId;
        details->setTarget(this);
        details->setDelegate(this);
        menu->add(phoneRowTitle(phone))->setSubmenu(details);
    }
    phonesItem_->setTitle(phonesTitle(phones_.size()));
    phonesItem_->setSubmenu(menu);
    alignItem_->setEnabled(phones_.size() >= 2);
    alignItem_->setChecked(alignStreams_);
}

void AppDelegate::rebuildDeviceMenu() {
    // An empty list is always shown again: the way to a driver must be there.
    if (!shouldRebuild(lastDeviceSignature_, deviceSignature(devices_), devices_.empty())) return;
    if (devices_.empty()) return showMissingDevice();

    const auto* active = activeDevice(devices_);
    const auto& shown = active ? *active : devices_.front();
    deviceItem_->setAction(MenuAction::none);
    if (active && chosenUid_.empty()) {
        chosenUid_ = active->uid;
        chosenChannel_ = active->firstChannel;
    }
    deviceItem_->setTitle(deviceTitle(shown));
    deviceItem_->setSubmenu(makeDeviceMenu(devices_, this));
    refreshVolumeWarning(shown.uid, shown.name);
}

/// No server is restarted for this: it notices a new device by itself.
void AppDelegate::showMissingDevice() {
    deviceItem_->setTitle("⚠ No audio device — Install BlackHole…");
    deviceItem_->setAction(MenuAction::installBlackHole);
    deviceItem_->setSubmenu(nullptr);
    volumeItem_->setHidden(true);
}

void AppDelegate::rebuildBluetoothMenu() {
    btItem_->setSubmenu(makeBluetoothMenu(bt_->offering(), bt_->chosenAddress(), bt_->chosenName(), this));
}

void AppDelegate::refreshVolumeWarning(const std::string& uid, const std::string& name) {
    const auto volume = DeviceVolume::lowestScalar(platform_.audioHardware, uid);
    if (!volume || !(*volume < fullVolume)) return volumeItem_->setHidden(true);
    volumeItem_->setTitle(volumeWarningTitle(name, *volume));
    volumeItem_->setRepresentedObject(DeviceChoice{uid, 0});
    volumeItem_->setHidden(false);
}

void AppDelegate::menuNeedsUpdate(Menu& menu) {
    const auto* details = dynamic_cast<PhoneDetailMenu*>(&menu);
    if (!details) return;
    const auto phone = std::ranges::find(phones_, details->deviceId, &PhoneSession::deviceId);
    if (phone != phones_.end()) fillPhoneDetailMenu(menu, *phone, offeredPairs(devices_));
}

void AppDelegate::menuWillOpen(Menu& menu) {
    if (&menu == menu_.get()) rootMenuOpen_ = true;
}

void AppDelegate::menuDidClose(Menu& menu) {
    if (&menu != menu_.get()) return;
    rootMenuOpen_ = false;
    if (!rebuildWhenClosed_) return;
    rebuildWhenClosed_ = false;
    rebuildPhoneMenu();
    rebuildDeviceMenu();
}

}  // namespace orvane
