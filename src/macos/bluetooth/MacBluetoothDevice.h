// One Bluetooth device with its service records, and the queries of them.
#pragma once

#include "macos/bluetooth/QueryBook.h"
#include "platform/Bluetooth.h"

#import <IOBluetooth/IOBluetooth.h>

#include <memory>

/// Queries of devices' service records: connects first, since IOBluetooth may drop the query of a device that
/// is not connected; asks a device once at a time; and ends every query, answered or not.
///
/// One for the whole process: IOBluetooth keeps no hold of whom it will call, and may call long after the
/// query has been given up.
@interface OrvaneServiceQueries : NSObject <IOBluetoothDeviceAsyncCallbacks>
- (instancetype)initWithRunLoop:(orvane::RunLoop&)runLoop;
- (void)ask:(IOBluetoothDevice*)device forTarget:(std::weak_ptr<orvane::BluetoothQueryTarget>)target;
@end

namespace orvane {

class MacBluetoothDevice : public BluetoothDevice {
   public:
    MacBluetoothDevice(IOBluetoothDevice* device, OrvaneServiceQueries* queries)
        : device_(device), queries_(queries) {}

    std::optional<std::string> addressString() const override;
    std::optional<std::string> name() const override;
    bool isConnected() const override { return [device_ isConnected]; }
    void performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) override;
    std::shared_ptr<SdpServiceRecord> serviceRecord(const BluetoothUuid& uuid) const override;
    std::vector<std::shared_ptr<SdpServiceRecord>> services() const override;
    BluetoothStatus openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel, std::uint8_t channelId,
                                           const std::weak_ptr<RfcommChannelDelegate>& delegate) override;
    void closeConnection() override { [device_ closeConnection]; }

   private:
    IOBluetoothDevice* device_;
    OrvaneServiceQueries* queries_;
};

}  // namespace orvane
