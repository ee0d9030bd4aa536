// The bridge finds the service on a phone and opens its channel.
#include "bluetooth/BluetoothBridge.h"
#include "platform/Platform.h"

#include <functional>
#include <set>
#include <utility>

namespace orvane {

namespace {

/// 4F727661-6E65-0001-8000-00805F9B34FB: the first six bytes spell the program's name.
constexpr BluetoothUuid serviceUuid{0x4F, 0x72, 0x76, 0x61, 0x6E, 0x65, 0x00, 0x01,
                                    0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB};
constexpr char serviceName[] = "Orvane";

using HighestFirst = std::set<std::uint8_t, std::greater<>>;

bool isOurs(const SdpServiceRecord& record) {
    return record.hasServiceFromArray({&serviceUuid, 1}) || record.serviceName() == serviceName;
}

HighestFirst channelIds(const BluetoothDevice& device) {
    HighestFirst ids;
    for (const auto& record : device.services()) {
        if (!isOurs(*record)) continue;
        const auto id = record->rfcommChannelId();
        if (id && *id != 0) ids.insert(*id);
    }
    return ids;
}

std::string joined(const HighestFirst& ids) {
    std::string text;
    for (const std::uint8_t id : ids)
        text += (text.empty() ? "" : ",") + std::to_string(id);
    return text;
}

}  // namespace

void BluetoothBridge::sdpQueryComplete(const std::shared_ptr<BluetoothDevice>& device,
                                       BluetoothStatus status) {
    const auto name = device ? device->name() : std::nullopt;
    log("SDP query for " + name.value_or("?") + " -> " + std::to_string(status));
    if (!device || status != bluetoothSuccess) {
        setState(BtState::searching(chosenName()));
        return;
    }
    if (channel_) return;
    updateOffering(*device);
    if (device->addressString() == chosenAddress_) openChannel(device);
    // Called here, not through `notify`: the menu shows `offering` also when the state is the same.
    if (onChange_) onChange_(state_);
}

void BluetoothBridge::updateOffering(const BluetoothDevice& device) {
    const auto address = device.addressString();
    if (!address) return;
    std::erase_if(offering_, [&](const BluetoothOffer& offer) { return offer.address == *address; });
    if (device.serviceRecord(serviceUuid)) offering_.push_back({*address, device.name().value_or(*address)});
}

void BluetoothBridge::openChannel(const std::shared_ptr<BluetoothDevice>& device) {
    const auto name = device->name();
    const HighestFirst ids = channelIds(*device);
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
    setChannel(std::move(channel));
    openedAt_ = platform_.clock.now();
    channelOpen_ = false;
    inbox_.clear();
    probeBytes_ = 0;
}

void BluetoothBridge::rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>&,
                                                BluetoothStatus status) {
    log("RFCOMM open -> " + std::to_string(status));
    channelOpen_ = status == bluetoothSuccess;
    if (channelOpen_) return;
    setState(BtState::searching(deviceName()));
    teardown();
}

void BluetoothBridge::rfcommChannelClosed(const std::shared_ptr<RfcommChannel>&) {
    teardown();
    if (state_.kind == BtState::Kind::failed) return;
    setState(chosenAddress_ ? BtState::searching(deviceName()) : BtState::noDevice);
}

}  // namespace orvane
