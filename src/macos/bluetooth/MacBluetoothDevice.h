// One Bluetooth device with its service records.
#pragma once

#include "platform/Bluetooth.h"

#import <IOBluetooth/IOBluetooth.h>

@class OrvaneServiceQueries;

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
