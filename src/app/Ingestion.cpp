// Following the server: each line of its output that means something changes the model and, where it shows,
// the menu.
#include "app/AppDelegate.h"
#include "menu/DeviceMenu.h"
#include "model/Numbers.h"
#include "text/Lines.h"
#include "text/Trim.h"

namespace orvane {

namespace {

bool contains(std::string_view line, std::string_view marker) {
    return line.find(marker) != std::string_view::npos;
}

/// What follows the first `marker` in the line; nothing when there is none.
std::optional<std::string_view> textAfter(std::string_view marker, std::string_view line) {
    const auto found = line.find(marker);
    if (found == std::string_view::npos) return std::nullopt;
    return line.substr(found + marker.size());
}

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
    if (const auto count = textAfter("devices: ", line)) return openDeviceBlock(*count);
    if (line.starts_with("device:\t")) return addDevice(line);
    if (const auto count = textAfter("sessions: ", line)) return openPhoneBlock(*count);
    if (line.starts_with("session:\t")) return addPhone(line);
    handleReport(line);
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

void AppDelegate::handleReport(std::string_view line) {
    if (contains(line, "align=off")) {
        setAlign(false);
    } else if (contains(line, "align=on")) {
        setAlign(true);
    }
    if (const auto code = textAfter("pairing code: ", line)) setPairingCode(trimHorizontalSpace(*code));
    if (contains(line, "pairing: REJECTED")) return setStatus("⚠ Phone used the wrong pairing code", false);
    if (contains(line, "pairing: too many wrong codes"))
        return setStatus("⚠ Too many wrong codes — paused", false);
    handleConnection(line);
    if (contains(line, "routing to default-output")) driverMissing_ = true;
    if (contains(line, "routing to VIRTUAL")) driverMissing_ = false;
}

void AppDelegate::handleConnection(std::string_view line) {
    if (contains(line, "phone=yes")) {
        setStatus(connectedText(), true);
    } else if (contains(line, "phone=waiting")) {
        setStatus(driverMissing_ ? "○ Waiting (⚠ no audio device)" : "○ Waiting for phone…", false);
    }
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
