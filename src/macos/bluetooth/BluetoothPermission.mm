#include "macos/bluetooth/BluetoothPermission.h"

#import <CoreBluetooth/CoreBluetooth.h>

namespace orvane {

/// IOBluetooth, which has no word for this, is under the same permission.
bool isBluetoothRefused() {
    const CBManagerAuthorization answer = CBManager.authorization;
    return answer == CBManagerAuthorizationDenied || answer == CBManagerAuthorizationRestricted;
}

}  // namespace orvane
