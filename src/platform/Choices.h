// What menu rows stand for beyond their titles: the choice that the command gets when the row is clicked.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <variant>

namespace orvane {

/// "This phone on this stereo pair."
struct ChannelChoice {
    std::uint32_t deviceId;  ///< The phone.
    int pair;                ///< From 0: pair p is channels 2p+1 and 2p+2.
    auto operator<=>(const ChannelChoice&) const = default;
};

/// "This audio device."
struct DeviceChoice {
    std::string uid;
    int channel;
    auto operator<=>(const DeviceChoice&) const = default;
};

/// None, a Bluetooth address (empty: no phone), or one of the choices.
using RepresentedObject = std::variant<std::monostate, std::string, ChannelChoice, DeviceChoice>;

}  // namespace orvane
