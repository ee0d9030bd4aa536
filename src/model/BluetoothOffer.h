// A phone that the user may choose in the Bluetooth menu.
#pragma once

#include <string>

namespace orvane {

/// A phone whose service records show our service.
struct BluetoothOffer {
    std::string address;
    std::string name;
    bool operator==(const BluetoothOffer&) const = default;
};

}  // namespace orvane
