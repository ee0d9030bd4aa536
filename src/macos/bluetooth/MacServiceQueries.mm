#include "macos/bluetooth/MacServiceQueries.h"

#include "macos/bluetooth/MacBluetoothDevice.h"
#include "macos/system/Text.h"

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
