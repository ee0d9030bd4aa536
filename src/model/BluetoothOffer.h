// A phone that the user may choose in the Bluetooth menu.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace orvane {

/// A phone whose service records show our service.
struct BluetoothOffer {
    std::string address;
    std::string name;
    bool operator==(const BluetoothOffer&) const = default;
};

/// Bluetooth addresses are hexadecimal: a letter means the same in either case.
inline bool sameAddress(std::string_view one, std::string_view other) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c; };
    return std::ranges::equal(one, other, {}, upper, upper);
}

}  // namespace orvane
