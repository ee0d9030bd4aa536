// What stands between the program and Bluetooth: the system bus, BlueZ, the adapters and what blocks them.
#pragma once

#include "platform/Inspection.h"

#include <string>

namespace orvane {

/// What the folder of the kernel's radio switches (/sys/class/rfkill, rfkill in the kernel's documentation)
/// says of Bluetooth.
struct RadioSwitches {
    bool hasBluetooth = false;
    bool isBlocked = false;  ///< Every Bluetooth radio.
};
RadioSwitches readRadioSwitches(const std::string& folder);

/// Asks the system bus, a second for each question at most. Any thread; an application object must exist.
BluetoothFacts bluetoothFacts();

}  // namespace orvane
