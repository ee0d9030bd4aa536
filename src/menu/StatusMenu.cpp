#include "menu/StatusMenu.h"

#include "menu/DeviceMenu.h"
#include "menu/PhoneMenu.h"
#include "platform/Bundle.h"
#include "platform/Surface.h"

namespace orvane {

namespace {

constexpr ImageSize iconSize{18, 18};
constexpr const char* noPairingCode = "Pairing code: …";

std::shared_ptr<Image> loadBaseIcon(Images& images, const Bundle& bundle) {
    if (bundle.resourceDirectory) {
        if (auto image = images.load(*bundle.resourceDirectory + "/menubar.png")) return image;
    }
    if (auto image = images.systemSymbol("mic.fill", "Orvane")) return image;
    return images.empty();
}

}  // namespace

std::string connectedStatus(std::size_t phones, bool driverMissing) {
    return "● " + std::to_string(phones) + (phones == 1 ? " phone" : " phones") +
           (driverMissing ? " (⚠ no audio device)" : " connected");
}

std::string waitingStatus(bool driverMissing) {
    return driverMissing ? "○ Waiting (⚠ no audio device)" : "○ Waiting for phone…";
}

StatusMenu::StatusMenu(Application& application, Images& images, const Bundle& bundle)
    : application_(application), images_(images), bundle_(bundle) {}

StatusMenu::~StatusMenu() = default;

void StatusMenu::show(MenuTarget& target, MenuDelegate& delegate) {
    target_ = &target;
    delegate_ = &delegate;
    statusItem_ = application_.makeStatusItem();
    if (statusItem_->hasButton()) {
        statusItem_->clearContentTintColor();
        statusItem_->setImage(baseIcon());
    }
    buildRows();
    statusItem_->setMenu(menu_);
}

void StatusMenu::buildRows() {
    menu_ = std::make_shared<StatusItemMenu>("Starting…");
    menu_->addSeparator();
    pairingItem_ = menu_->add(noPairingCode, MenuAction::copyPairingCode);
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
    menu_->setTarget(target_);
    menu_->setDelegate(delegate_);
}

void StatusMenu::remove() {
    statusItem_.reset();
}

const std::shared_ptr<Image>& StatusMenu::baseIcon() {
    if (!baseIcon_) {
        baseIcon_ = loadBaseIcon(images_, bundle_);
        baseIcon_->setSize(iconSize);
        baseIcon_->setTemplate(true);
    }
    return baseIcon_;
}

const std::shared_ptr<Image>& StatusMenu::greenIcon() {
    if (!greenIcon_) {
        greenIcon_ = images_.filledWithSystemGreen(*baseIcon());
        greenIcon_->setTemplate(false);
    }
    return greenIcon_;
}

void StatusMenu::setStatus(const std::string& text, bool connected) {
    menu_->statusRow()->setTitle(text);
    if (!statusItem_->hasButton()) return;
    statusItem_->clearContentTintColor();
    statusItem_->setImage(connected ? greenIcon() : baseIcon());
}

void StatusMenu::setPairingCode(const std::optional<std::string>& code) {
    pairingItem_->setTitle(code ? "Pairing code: " + *code + "   (click to copy)" : noPairingCode);
}

void StatusMenu::setUsb(const std::string& title, bool enabled) {
    usbItem_->setTitle(title);
    usbItem_->setEnabled(enabled);
}

void StatusMenu::setBluetoothTitle(const std::string& title) {
    btItem_->setTitle(title);
}

void StatusMenu::setBluetoothMenu(const std::shared_ptr<Menu>& submenu) {
    btItem_->setSubmenu(submenu);
}

void StatusMenu::setAligned(bool aligned) {
    if (alignItem_) alignItem_->setChecked(aligned);
}

void StatusMenu::setVolumeWarning(const DeviceChoice& device, const std::string& name, float volume) {
    volumeItem_->setTitle(volumeWarningTitle(name, volume));
    volumeItem_->setRepresentedObject(device);
    volumeItem_->setHidden(false);
}

void StatusMenu::hideVolumeWarning() {
    volumeItem_->setHidden(true);
}

const DeviceChoice* StatusMenu::warnedDevice() const {
    return std::get_if<DeviceChoice>(&volumeItem_->representedObject());
}

bool StatusMenu::mayRebuild(std::string& lastSignature, const std::string& signature, bool always) {
    if (signature == lastSignature && !always) return false;
    if (putOff()) return false;
    lastSignature = signature;
    return true;
}

void StatusMenu::showPhones(std::span<const PhoneSession> phones, bool aligned) {
    if (!mayRebuild(lastPhoneSignature_, phoneSignature(phones), false)) return;
    if (phones.empty()) {
        phonesItem_->setTitle("Phones: none connected");
        phonesItem_->setSubmenu(nullptr);
        alignItem_->setEnabled(false);
        return;
    }
    phonesItem_->setTitle(phonesTitle(phones.size()));
    phonesItem_->setSubmenu(makePhoneMenu(phones, target_, delegate_));
    alignItem_->setEnabled(phones.size() >= 2);
    alignItem_->setChecked(aligned);
}

bool StatusMenu::showDevices(std::span<const LoopbackDevice> devices) {
    if (!mayRebuild(lastDeviceSignature_, deviceSignature(devices), devices.empty())) return false;
    if (devices.empty()) {
        showMissingDevice();
    } else {
        deviceItem_->setAction(MenuAction::none);
        deviceItem_->setTitle(deviceTitle(shownDevice(devices)));
        deviceItem_->setSubmenu(makeDeviceMenu(devices, target_));
    }
    return true;
}

/// No server is restarted for this: it notices a new device by itself.
void StatusMenu::showMissingDevice() {
    deviceItem_->setTitle("⚠ No audio device — Install BlackHole…");
    deviceItem_->setAction(MenuAction::installBlackHole);
    deviceItem_->setSubmenu(nullptr);
    hideVolumeWarning();
}

bool StatusMenu::putOff() {
    if (isOpen_) rebuildWhenClosed_ = true;
    return isOpen_;
}

void StatusMenu::willOpen(const Menu& menu) {
    if (&menu == menu_.get()) isOpen_ = true;
}

bool StatusMenu::didClose(const Menu& menu) {
    if (&menu != menu_.get()) return false;
    isOpen_ = false;
    return std::exchange(rebuildWhenClosed_, false);
}

}  // namespace orvane
