// What the users of the system at hand do about things that are missing, where the core's own words are meant
// for another system. Plain values; a system that adds nothing leaves them as they
// are here.
#pragma once

#include <string>

namespace orvane {

struct Remedies {
    std::string system;      ///< As its users call it: "Debian GNU/Linux 12 (bookworm)".
    std::string installAdb;  ///< A command.
    /// What makes a phone on a cable accessible that adb reports without permissions: commands, one a line.
    std::string allowPhones;
    std::string allowBluetooth;  ///< Where a user allows it who has refused it to this program.
    std::string switchBluetoothOn = "switch Bluetooth on in the system's settings";
    std::string makeLoopbackDevice;  ///< A command; the device lasts as long as the sound server.
    std::string keepLoopbackDevice;  ///< How to have the device always: sentences and commands, in lines.
};

}  // namespace orvane
