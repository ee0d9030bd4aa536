// The devices paired with this Mac, through IOBluetooth. Like everything of IOBluetooth: main thread only.
#pragma once

#include "platform/Bluetooth.h"

namespace orvane {

class MacBluetooth : public Bluetooth {
  public:
    std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() override;
    std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string& address) override;
};

}  // namespace orvane
