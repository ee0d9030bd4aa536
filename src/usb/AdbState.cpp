#include "usb/AdbState.h"

namespace orvane {

std::string AdbState::menuTitle() const {
    switch (kind) {
        case Kind::ready:
            return "USB: ready — " + model;
        case Kind::yielded:
            return "USB: standing aside for Bluetooth — " + model;
        case Kind::noAdb:
            return "USB: Android tools not installed…";
        case Kind::noDevice:
            return "USB: no phone connected";
        case Kind::unauthorized:
            return "USB: allow USB debugging on the phone";
    }
    return {};
}

}  // namespace orvane
