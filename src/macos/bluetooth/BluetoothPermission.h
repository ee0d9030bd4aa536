// Whether the user lets this program use Bluetooth. The system asks at the first use; until then, it does.
#pragma once

namespace orvane {

/// True when the user, or whoever manages this Mac, has refused. Asks nobody. Any thread.
bool isBluetoothRefused();

}  // namespace orvane
