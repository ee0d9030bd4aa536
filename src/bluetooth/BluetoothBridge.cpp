#include "bluetooth/BluetoothBridge.h"

#include "platform/UserDefaults.h"

#include <iterator>
#include <utility>

namespace orvane {

namespace {

constexpr char chosenDeviceKey[] = "btDevice";
constexpr Duration tickInterval{3.0};
constexpr Duration openLimit{8.0};

std::string joined(const PhoneFinder::ChannelIds& ids) {
    std::string text;
    for (const std::uint8_t id : ids)
        text += (text.empty() ? "" : ",") + std::to_string(id);
    return text;
}

}  // namespace

BluetoothBridge::BluetoothBridge(Roles roles, std::uint16_t port)
    : roles_(roles),
      chosenAddress_(roles.userDefaults.string(chosenDeviceKey)),
      port_(port),
      finder_(roles.bluetooth) {}

void BluetoothBridge::start(ChangeHandler onChange) {
    onChange_ = std::move(onChange);
    setState(chosenAddress_ ? BtState::searching(chosenName()) : BtState::noDevice);
    timer_ = roles_.runLoop.scheduledTimer(tickInterval, [weak = weak_from_this()] {
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
    if (link_) {
        if (!link_->isLate(openLimit)) return;
        log("RFCOMM open timed out, retrying");
        teardown();
        if (device_) device_->closeConnection();
        setState(BtState::searching(deviceName()));
    }
    auto chosen = finder_.find(chosenAddress_);
    if (!chosen) return finder_.sweep(weak_from_this());
    device_ = std::move(chosen);
    device_->performSdpQuery(weak_from_this());
}

void BluetoothBridge::sdpQueryComplete(const std::shared_ptr<BluetoothDevice>& device,
                                       BluetoothStatus status) {
    const auto name = device ? device->name() : std::nullopt;
    log("SDP query for " + name.value_or("?") + " -> " + std::to_string(status));
    if (!device || status != bluetoothSuccess) {
        setState(BtState::searching(chosenName()));
        return;
    }
    if (link_) return;
    finder_.update(*device);
    if (isChosen(*device)) openChannel(device);
    // Called here, not through `notify`: the menu shows `offering` also when the state is the same.
    if (onChange_) onChange_(state_);
}

/// A device without an address counts as the chosen one when none is chosen.
bool BluetoothBridge::isChosen(const BluetoothDevice& device) const {
    const auto address = device.addressString();
    if (!address || !chosenAddress_) return address == chosenAddress_;
    return sameAddress(*address, *chosenAddress_);
}

void BluetoothBridge::openChannel(const std::shared_ptr<BluetoothDevice>& device) {
    const auto name = device->name();
    const auto ids = PhoneFinder::channelIds(*device);
    if (ids.empty()) {
        log(name.value_or("?") + " has no Orvane service");
        setState(BtState::searching(name.value_or("phone")));
        return;
    }
    const std::uint8_t id = *std::next(ids.begin(), static_cast<std::ptrdiff_t>(attempt_++ % ids.size()));
    std::shared_ptr<RfcommChannel> channel;
    const BluetoothStatus status = device->openRfcommChannelAsync(channel, id, weak_from_this());
    if (status != bluetoothSuccess) {
        log("channel " + std::to_string(id) + " refused (" + std::to_string(status) + ")");
        setState(BtState::searching(name.value_or("phone")));
        return;
    }
    log("opening RFCOMM channel " + std::to_string(id) + " on " + name.value_or("?") + " (of " + joined(ids) +
        ")");
    const std::shared_ptr<PhoneLinkOwner> owner(shared_from_this(), this);
    link_ = std::make_shared<PhoneLink>(
        owner,
        PhoneLink::Roles{roles_.runLoop, roles_.clock, roles_.threads, roles_.isOurPort, roles_.unreadBytes},
        port_, std::move(channel));
}

void BluetoothBridge::rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>&,
                                                BluetoothStatus status) {
    log("RFCOMM open -> " + std::to_string(status));
    if (status == bluetoothSuccess) {
        if (link_) link_->opened();
        return;
    }
    setState(BtState::searching(deviceName()));
    teardown();
}

void BluetoothBridge::rfcommChannelData(const std::shared_ptr<RfcommChannel>&,
                                        std::span<const std::uint8_t> bytes) {
    if (const auto link = link_) link->receive(bytes);
}

void BluetoothBridge::rfcommChannelQueueSpaceAvailable(const std::shared_ptr<RfcommChannel>&) {
    if (const auto link = link_) link->writable();
}

void BluetoothBridge::rfcommChannelClosed(const std::shared_ptr<RfcommChannel>&) {
    teardown();
    if (state_.kind == BtState::Kind::failed) return;
    setState(chosenAddress_ ? BtState::searching(deviceName()) : BtState::noDevice);
}

void BluetoothBridge::linkFailed(const std::string& message) {
    setState(BtState::failed(message));
    teardown();
}

void BluetoothBridge::linkStalled() {
    log("the phone takes nothing any more");
    rfcommChannelClosed(nullptr);
}

void BluetoothBridge::localReceived(std::span<const std::uint8_t> chunk, bool moreFollow) {
    if (link_) link_->send(FrameType::data, chunk, moreFollow);
}

void BluetoothBridge::localEnded(int fd) {
    if (link_) link_->localEnded(fd);
}

void BluetoothBridge::teardown() {
    if (const auto link = std::exchange(link_, nullptr)) link->close();
}

void BluetoothBridge::setState(BtState state) {
    const bool changed = !(state == state_);
    state_ = std::move(state);
    if (changed) notify();
}

void BluetoothBridge::notify() {
    if (unheard_.size() == maxUnheard) {
        unheard_.back() = state_;
        return;
    }
    unheard_.push_back(state_);
    roles_.runLoop.async([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->tellNext();
    });
}

void BluetoothBridge::tellNext() {
    const BtState state = std::move(unheard_.front());
    unheard_.pop_front();
    if (onChange_) onChange_(state);
}

void BluetoothBridge::setChosenAddress(const std::optional<std::string>& address) {
    chosenAddress_ = address;
    roles_.userDefaults.setString(address, chosenDeviceKey);
}

std::string BluetoothBridge::deviceName() const {
    const auto name = device_ ? device_->name() : std::nullopt;
    return name.value_or("phone");
}

void BluetoothBridge::log(const std::string& line) const {
    roles_.systemLog("Orvane: " + line);
}

void BluetoothBridge::logOnce(const std::string& line) {
    if (line != std::exchange(saidOnce_, line)) log(line);
}

}  // namespace orvane
