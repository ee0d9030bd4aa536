// In the driven app's place of IOBluetooth: the same role, from the same header, with scripted phones behind.
#include "ScriptedMacBluetooth.h"

#include "macos/bluetooth/MacBluetooth.h"

namespace orvane {

namespace {

std::unique_ptr<test::ScriptedPhones> phones;

}  // namespace

test::ScriptedPhones& test::scriptedPhones() { return *phones; }

MacBluetooth::MacBluetooth(RunLoop& runLoop) : runLoop_(runLoop), queries_(nullptr) {
    phones = std::make_unique<test::ScriptedPhones>(runLoop);
}

std::vector<std::shared_ptr<BluetoothDevice>> MacBluetooth::pairedDevices() {
    (void)queries_;  // Nobody is asked.
    return phones->pairedDevices();
}

std::shared_ptr<BluetoothDevice> MacBluetooth::deviceWithAddress(const std::string& address) {
    return phones->deviceWithAddress(address);
}

}  // namespace orvane
