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

/// True when a D-Bus server at `address` ("unix:path=…") says something within half a second. One that only
/// takes connections would hold up every other bus of this process.
bool busAnswers(const std::string& address);
/// The addresses of the two buses.
std::string systemBusAddress();
std::string sessionBusAddress();

}  // namespace orvane
