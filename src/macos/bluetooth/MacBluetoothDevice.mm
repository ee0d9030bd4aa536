#include "macos/bluetooth/MacBluetoothDevice.h"

#include "macos/bluetooth/MacRfcommChannel.h"
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

@implementation OrvaneServiceQueries {
    std::unique_ptr<orvane::QueryBook> _book;
}

- (instancetype)initWithRunLoop:(orvane::RunLoop&)runLoop {
    if ((self = [super init])) _book = std::make_unique<orvane::QueryBook>(runLoop, kIOReturnTimeout);
    return self;
}

- (void)ask:(IOBluetoothDevice*)device forTarget:(std::weak_ptr<orvane::BluetoothQueryTarget>)target {
    const auto begin = [self, device] {
        return [device isConnected] ? [device performSDPQuery:self] : [device openConnection:self];
    };
    const auto done = [self, device, target](orvane::BluetoothStatus status) {
        const auto hearer = target.lock();
        if (hearer)
            hearer->sdpQueryComplete(std::make_shared<orvane::MacBluetoothDevice>(device, self), status);
    };
    _book->ask(orvane::toString(device.addressString), begin, done);
}

- (void)connectionComplete:(IOBluetoothDevice*)device status:(IOReturn)status {
    const std::string address = orvane::toString(device.addressString);
    if (!_book->isAsking(address)) return;
    const IOReturn asked = status == kIOReturnSuccess ? [device performSDPQuery:self] : status;
    if (asked != kIOReturnSuccess) _book->answer(address, asked);
}

- (void)sdpQueryComplete:(IOBluetoothDevice*)device status:(IOReturn)status {
    _book->answer(orvane::toString(device.addressString), status);
}

- (void)remoteNameRequestComplete:(IOBluetoothDevice*)__unused device status:(IOReturn)__unused status {
}

@end
