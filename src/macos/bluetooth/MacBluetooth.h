// The devices paired with this Mac, through IOBluetooth. Like everything of IOBluetooth: main thread only.
#pragma once

#include "platform/Bluetooth.h"
#include "platform/RunLoop.h"

@class OrvaneServiceQueries;

namespace orvane {

class MacBluetooth : public Bluetooth {
   public:
    /// The run loop outlives this.
    explicit MacBluetooth(RunLoop& runLoop);

    std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() override;
    std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string& address) override;

   private:
    OrvaneServiceQueries* queries_;
};

}  // namespace orvane
