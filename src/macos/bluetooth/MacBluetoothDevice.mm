#include "macos/bluetooth/MacBluetoothDevice.h"

#include "macos/bluetooth/MacRfcommChannel.h"
#include "macos/bluetooth/MacServiceQueries.h"
#include "macos/system/Text.h"
#include "text/HarmlessText.h"

namespace orvane {

namespace {

std::optional<std::string> optionalText(NSString* text) {
    return text ? std::optional(toString(text)) : std::nullopt;
}

IOBluetoothSDPUUID* nativeUuid(const BluetoothUuid& uuid) {
    return [[IOBluetoothSDPUUID alloc] initWithBytes:uuid.data() length:uuid.size()];
}

class MacSdpServiceRecord : public SdpServiceRecord {
   public:
    explicit MacSdpServiceRecord(IOBluetoothSDPServiceRecord* record) : record_(record) {}

    bool hasServiceFromArray(std::span<const BluetoothUuid> uuids) const override {
        NSMutableArray<IOBluetoothSDPUUID*>* natives = [NSMutableArray array];
        for (const BluetoothUuid& uuid : uuids) [natives addObject:nativeUuid(uuid)];
        return [record_ hasServiceFromArray:natives];
    }
    std::optional<std::string> serviceName() const override { return optionalText([record_ getServiceName]); }
    std::optional<std::uint8_t> rfcommChannelId() const override {
        BluetoothRFCOMMChannelID channelId = 0;
        const IOReturn status = [record_ getRFCOMMChannelID:&channelId];
        return status == kIOReturnSuccess ? std::optional(channelId) : std::nullopt;
    }

   private:
    IOBluetoothSDPServiceRecord* record_;
};

}  // namespace

std::optional<std::string> MacBluetoothDevice::addressString() const {
    return optionalText(device_.addressString);
}

std::optional<std::string> MacBluetoothDevice::name() const {
    std::string name = nameFromOutside(optionalText(device_.name).value_or(""));
    return name.empty() ? std::nullopt : std::optional(std::move(name));
}

void MacBluetoothDevice::performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) {
    [queries_ ask:device_ forTarget:target];
}

std::shared_ptr<SdpServiceRecord> MacBluetoothDevice::serviceRecord(const BluetoothUuid& uuid) const {
    IOBluetoothSDPServiceRecord* record = [device_ getServiceRecordForUUID:nativeUuid(uuid)];
    return record ? std::make_shared<MacSdpServiceRecord>(record) : nullptr;
}

std::vector<std::shared_ptr<SdpServiceRecord>> MacBluetoothDevice::services() const {
    std::vector<std::shared_ptr<SdpServiceRecord>> records;
    for (id record in device_.services) {
        if ([record isKindOfClass:[IOBluetoothSDPServiceRecord class]])
            records.push_back(std::make_shared<MacSdpServiceRecord>(record));
    }
    return records;
}

BluetoothStatus MacBluetoothDevice::openRfcommChannelAsync(
    std::shared_ptr<RfcommChannel>& channel, std::uint8_t channelId,
    const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    return MacRfcommChannel::open(channel, device_, channelId, delegate);
}

}  // namespace orvane
