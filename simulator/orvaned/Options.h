// What the simulator pretends, set by environment variables: the server itself takes no arguments.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvaned {

/// An output device that the simulator says it can play into.
struct Device {
    std::string uid;
    std::string name;
    int channels = 16;
};

struct Options {
    std::uint16_t port = 5555;
    int phones = 2;              ///< Pretended phones.
    double arriveEvery = 3;      ///< Seconds between two arrivals.
    double stay = 0;             ///< Seconds that a pretended phone stays; 0: for good.
    double reportEvery = 1;      ///< Seconds between two reports on the phones.
    double wrongCodeEvery = 0;   ///< Seconds between two wrong pairing codes; 0: none.
    double lateDeviceAfter = 0;  ///< Seconds until the last device appears; 0: it is there at once.
    bool echo = false;           ///< Sends each connection its own bytes back.
    std::vector<Device> devices = {{"BlackHole16ch_UID", "BlackHole 16ch", 16},
                                   {"BlackHole2ch_UID", "BlackHole 2ch", 2}};

    std::vector<std::string> complaints;  ///< Variables that could not be read; their defaults hold.
};

Options optionsFromEnvironment();

/// One line for each variable: its name, what it does and its default.
std::string describeVariables();

}  // namespace orvaned
