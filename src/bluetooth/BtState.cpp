#include "bluetooth/BtState.h"

namespace orvane {

std::string BtState::menuTitle() const {
    switch (kind) {
        case Kind::searching:
            return "Bluetooth: looking for " + text + "…";
        case Kind::testing:
            return "Bluetooth: testing the link to " + text + "…";
        case Kind::live:
            return "Bluetooth: streaming from " + text;
        case Kind::failed:
            return "Bluetooth: " + text;
        case Kind::off:
            return "Bluetooth: off";
        case Kind::noDevice:
            return "Bluetooth: choose a phone…";
    }
    return {};
}

}  // namespace orvane
