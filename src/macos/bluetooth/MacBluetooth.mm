#include "macos/bluetooth/MacBluetooth.h"

#include "macos/bluetooth/BluetoothPermission.h"
#include "macos/bluetooth/MacBluetoothDevice.h"
#include "macos/system/Text.h"

namespace orvane {

MacBluetooth::MacBluetooth(RunLoop& runLoop)
    : runLoop_(runLoop), queries_([[OrvaneServiceQueries alloc] initWithRunLoop:runLoop]) {}

std::vector<std::shared_ptr<BluetoothDevice>> MacBluetooth::pairedDevices() {
    noticeRefusal();
    std::vector<std::shared_ptr<BluetoothDevice>> devices;
    for (id device in [IOBluetoothDevice pairedDevices]) {
        if ([device isKindOfClass:[IOBluetoothDevice class]])
            devices.push_back(std::make_shared<MacBluetoothDevice>(device, queries_));
    }
    return devices;
}

std::shared_ptr<BluetoothDevice> MacBluetooth::deviceWithAddress(const std::string& address) {
    noticeRefusal();
    IOBluetoothDevice* device = [IOBluetoothDevice deviceWithAddressString:toNSString(address)];
    return device ? std::make_shared<MacBluetoothDevice>(device, queries_) : nullptr;
}

void MacBluetooth::noticeRefusal() {
    const bool wasRefused = std::exchange(isRefused_, isBluetoothRefused());
    if (isRefused_ && !wasRefused && refused_) runLoop_.async(refused_);
}

}  // namespace orvane
