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
    void setRefusalHandler(std::function<void()> refused) override { refused_ = std::move(refused); }

   private:
    /// Looks whether the user has refused, which nothing tells by itself.
    void noticeRefusal();

    RunLoop& runLoop_;
    OrvaneServiceQueries* queries_;
    std::function<void()> refused_;
    bool isRefused_ = false;
};

}  // namespace orvane
