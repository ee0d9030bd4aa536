// The bridge's life and its choice of a phone.
#include "bluetooth/BluetoothBridge.h"

#include "bluetooth/LocalRelay.h"
#include "platform/Platform.h"
#include "platform/SystemLog.h"
#include "platform/UserDefaults.h"

#include <set>
#include <utility>

namespace orvane {

namespace {

constexpr char chosenDeviceKey[] = "btDevice";
constexpr Duration tickInterval{3.0};
constexpr Duration openLimit{8.0};

}  // namespace

BluetoothBridge::BluetoothBridge(const Platform& platform, std::uint16_t port)
    : platform_(platform), chosenAddress_(platform.userDefaults.string(chosenDeviceKey)), port_(port) {}

BluetoothBridge::~BluetoothBridge() {
    teardown();
}

void BluetoothBridge::start(ChangeHandler onChange) {
    onChange_ = std::move(onChange);
    setState(chosenAddress_ ? BtState::searching(chosenName()) : BtState::noDevice);
    timer_ = platform_.runLoop.scheduledTimer(tickInterval, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->tick();
    });
    tick();
}

void BluetoothBridge::stop() {
    timer_.reset();
    teardown();
    setState(BtState::off);
}

void BluetoothBridge::choose(const std::optional<std::string>& address) {
    if (address == chosenAddress_) return;
    teardown();
    setChosenAddress(address);
    setState(address ? BtState::searching(chosenName()) : BtState::noDevice);
    tick();
}

void BluetoothBridge::tick() {
    if (channel_) {
        const bool timedOut = !channelOpen_ && openedAt_ && platform_.clock.now() - *openedAt_ > openLimit;
        if (!timedOut) return;
        log("RFCOMM open timed out, retrying");
        teardown();
        if (device_) device_->closeConnection();
        setState(BtState::searching(deviceName()));
    }
    auto chosen = chosenAddress_ ? platform_.bluetooth.deviceWithAddress(*chosenAddress_) : nullptr;
    if (!chosen) return sweep();
    device_ = std::move(chosen);
    device_->performSdpQuery(weak_from_this());
}

/// Asks one of the connected phones, the next one each time, whether it offers the service.
void BluetoothBridge::sweep() {
    auto devices = pairedDevices(platform_.bluetooth);
    std::erase_if(devices, [](const auto& device) { return !device->isConnected(); });
    if (devices.empty()) {
        offering_.clear();
        return;
    }
    sweepIndex_ = (sweepIndex_ + 1) % devices.size();
    devices[sweepIndex_]->performSdpQuery(weak_from_this());
}

std::vector<std::shared_ptr<BluetoothDevice>> BluetoothBridge::pairedDevices(Bluetooth& bluetooth) {
    std::set<std::string> seen;
    auto devices = bluetooth.pairedDevices();
    std::erase_if(devices, [&seen](const auto& device) {
        const auto address = device->addressString();
        return !address || !seen.insert(*address).second;
    });
    return devices;
}

void BluetoothBridge::setState(BtState state) {
    const bool changed = !(state == state_);
    state_ = std::move(state);
    if (changed) notify();
}

void BluetoothBridge::notify() {
    platform_.runLoop.async([weak = weak_from_this(), state = state_] {
        const auto self = weak.lock();
        if (self && self->onChange_) self->onChange_(state);
    });
}

void BluetoothBridge::setChosenAddress(const std::optional<std::string>& address) {
    chosenAddress_ = address;
    platform_.userDefaults.setString(address, chosenDeviceKey);
}

std::string BluetoothBridge::chosenName() const {
    if (!chosenAddress_) return "phone";
    const auto device = platform_.bluetooth.deviceWithAddress(*chosenAddress_);
    const auto name = device ? device->name() : std::nullopt;
    return name.value_or(*chosenAddress_);
}

std::string BluetoothBridge::deviceName() const {
    const auto name = device_ ? device_->name() : std::nullopt;
    return name.value_or("phone");
}

void BluetoothBridge::setChannel(std::shared_ptr<RfcommChannel> channel) {
    channel_ = std::move(channel);
    *hasChannel_ = channel_ != nullptr;
}

void BluetoothBridge::log(const std::string& line) const {
    platform_.systemLog.log("Orvane: " + line);
}

}  // namespace orvane
