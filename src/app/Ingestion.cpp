// Following the server: each line of its output that means something changes the model and, where it shows,
// the menu.
#include "app/AppDelegate.h"
#include "menu/DeviceMenu.h"
#include "model/Numbers.h"
#include "text/Lines.h"
#include "text/Marker.h"
#include "text/Trim.h"

namespace orvane {

namespace {

constexpr Marker deviceHeader("devices: ", ':');
constexpr Marker phoneHeader("sessions: ", ':');
constexpr Marker pairingCodeMarker("pairing code: ", ':');
constexpr Marker pairingRejected("pairing: REJECTED", 'J');
constexpr Marker pairingLocked("pairing: too many wrong codes", ':');
constexpr Marker alignOff("align=off", '=');
constexpr Marker alignOn("align=on", '=');
constexpr Marker phoneYes("phone=yes", '=');
constexpr Marker phoneWaiting("phone=waiting", '=');
constexpr Marker routingToDefault("routing to default-output", '-');
constexpr Marker routingToVirtual("routing to VIRTUAL", 'V');

/// An announced count; 0 when it cannot be read.
std::int64_t parseCount(std::string_view text) {
    return parseSigned(trimHorizontalSpace(text)).value_or(0);
}

}  // namespace

void AppDelegate::ingest(std::string_view text) {
    log_.append(text);
    forEachLine(text, [this](std::string_view line) { handleLine(line); });
    if (logWindow_) logWindow_->update(log_);
}

void AppDelegate::handleLine(std::string_view line) {
    // Most lines are talk, and these two characters are missing from most of it.
    const bool hasColon = line.find(':') != std::string_view::npos;
    const bool hasEquals = line.find('=') != std::string_view::npos;
    if (hasColon && handleList(line)) return;
    if (hasEquals) handleAlign(line);
    if (hasColon && handlePairing(line)) return;
    if (hasEquals) handleConnection(line);
    handleRouting(line);
}

bool AppDelegate::handleList(std::string_view line) {
    if (const auto count = deviceHeader.textAfter(line)) {
        openDeviceBlock(*count);
    } else if (line.starts_with("device:\t")) {
        addDevice(line);
    } else if (const auto phoneCount = phoneHeader.textAfter(line)) {
        openPhoneBlock(*phoneCount);
    } else if (line.starts_with("session:\t")) {
        addPhone(line);
    } else {
        return false;
    }
    return true;
}

void AppDelegate::openDeviceBlock(std::string_view count) {
    const auto expecting = parseCount(count);
    incomingDevices_.open(expecting);
    if (expecting != 0) return;
    devices_.clear();
    rebuildDeviceMenu();
}

void AppDelegate::addDevice(std::string_view line) {
    auto complete = incomingDevices_.add(LoopbackDevice::parse(line));
    if (!complete) return;
    devices_ = std::move(*complete);
    rebuildDeviceMenu();
    if (const auto* active = activeDevice(devices_)) refreshVolumeWarning(active->uid, active->name);
}

void AppDelegate::openPhoneBlock(std::string_view count) {
    const auto expecting = parseCount(count);
    incomingPhones_.open(expecting);
    if (expecting != 0) return;
    phones_.clear();
    rebuildPhoneMenu();
}

void AppDelegate::addPhone(std::string_view line) {
    auto complete = incomingPhones_.add(PhoneSession::parse(line));
    if (!complete) return;
    phones_ = std::move(*complete);
    rebuildPhoneMenu();
}

void AppDelegate::handleAlign(std::string_view line) {
    if (alignOff.isIn(line)) {
        setAlign(false);
    } else if (alignOn.isIn(line)) {
        setAlign(true);
    }
}

bool AppDelegate::handlePairing(std::string_view line) {
    if (const auto code = pairingCodeMarker.textAfter(line)) setPairingCode(trimHorizontalSpace(*code));
    if (pairingRejected.isIn(line)) {
        setStatus("⚠ Phone used the wrong pairing code", false);
    } else if (pairingLocked.isIn(line)) {
        setStatus("⚠ Too many wrong codes — paused", false);
    } else {
        return false;
    }
    return true;
}

void AppDelegate::handleConnection(std::string_view line) {
    if (phoneYes.isIn(line)) {
        setStatus(connectedText(), true);
    } else if (phoneWaiting.isIn(line)) {
        setStatus(driverMissing_ ? "○ Waiting (⚠ no audio device)" : "○ Waiting for phone…", false);
    }
}

void AppDelegate::handleRouting(std::string_view line) {
    if (routingToDefault.isIn(line)) driverMissing_ = true;
    if (routingToVirtual.isIn(line)) driverMissing_ = false;
}

std::string AppDelegate::connectedText() const {
    const auto count = phones_.size();
    return "● " + std::to_string(count) + (count == 1 ? " phone" : " phones") +
           (driverMissing_ ? " (⚠ no audio device)" : " connected");
}

void AppDelegate::setAlign(bool align) {
    alignStreams_ = align;
    if (alignItem_) alignItem_->setChecked(align);
}

void AppDelegate::setPairingCode(std::string_view code) {
    pairingCode_ = code;
    pairingItem_->setTitle("Pairing code: " + *pairingCode_ + "   (click to copy)");
}

}  // namespace orvane
