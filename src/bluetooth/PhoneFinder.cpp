#include "bluetooth/PhoneFinder.h"

namespace orvane {

namespace {

/// 4F727661-6E65-0001-8000-00805F9B34FB: the first six bytes spell the program's name.
constexpr BluetoothUuid serviceUuid{0x4F, 0x72, 0x76, 0x61, 0x6E, 0x65, 0x00, 0x01,
                                    0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB};
constexpr char serviceName[] = "Orvane";

bool isOurs(const SdpServiceRecord& record) {
    return record.hasServiceFromArray({&serviceUuid, 1}) || record.serviceName() == serviceName;
}

}  // namespace

std::vector<std::shared_ptr<BluetoothDevice>> PhoneFinder::pairedDevices(Bluetooth& bluetooth) {
    std::set<std::string> seen;
    auto devices = bluetooth.pairedDevices();
    std::erase_if(devices, [&seen](const auto& device) {
        const auto address = device->addressString();
        return !address || !seen.insert(*address).second;
    });
    return devices;
}

PhoneFinder::ChannelIds PhoneFinder::channelIds(const BluetoothDevice& device) {
    ChannelIds ids;
    for (const auto& record : device.services()) {
        if (!isOurs(*record)) continue;
        const auto id = record->rfcommChannelId();
        if (id && *id != 0) ids.insert(*id);
    }
    return ids;
}

std::shared_ptr<BluetoothDevice> PhoneFinder::find(const std::optional<std::string>& address) const {
    return address ? bluetooth_.deviceWithAddress(*address) : nullptr;
}

std::string PhoneFinder::nameOf(const std::optional<std::string>& address) const {
    if (!address) return "phone";
    const auto device = find(address);
    const auto name = device ? device->name() : std::nullopt;
    return name.value_or(*address);
}

void PhoneFinder::sweep(const std::weak_ptr<BluetoothQueryTarget>& target) {
    auto devices = pairedDevices(bluetooth_);
    std::erase_if(devices, [](const auto& device) { return !device->isConnected(); });
    if (devices.empty()) {
        offering_.clear();
        return;
    }
    sweepIndex_ = (sweepIndex_ + 1) % devices.size();
    devices[sweepIndex_]->performSdpQuery(target);
}

void PhoneFinder::update(const BluetoothDevice& device) {
    const auto address = device.addressString();
    if (!address) return;
    std::erase_if(offering_,
                  [&](const BluetoothOffer& offer) { return sameAddress(offer.address, *address); });
    if (device.serviceRecord(serviceUuid)) offering_.push_back({*address, device.name().value_or(*address)});
}

}  // namespace orvane
