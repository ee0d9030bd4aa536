// The lines with which the server announces phones and devices, as tests write them.
#pragma once

#include <string>

namespace orvane::test {

/// A phone; set what the test is about.
struct PhoneLine {
    std::string slot = "0";
    std::string firstChannel = "1";
    std::string packets = "100";
    std::string bufferMs = "42";
    std::string targetMs = "40";
    std::string xruns = "0";
    std::string rttMs = "11.5";
    std::string netDelayMs = "4.25";
    std::string preset = "voice";
    std::string label = "192.168.1.7";
    std::string format = "48k s16 mono";
    std::string deviceId = "7";
    std::string name = "Kitchen";

    /// The whole line, with its line feed.
    std::string text() const {
        std::string line = "session:";
        for (const auto* field : {&slot, &firstChannel, &packets, &bufferMs, &targetMs, &xruns, &rttMs,
                                  &netDelayMs, &preset, &label, &format, &deviceId, &name})
            line += "\t" + *field;
        return line + "\n";
    }
};

/// A device; the same.
struct DeviceLine {
    std::string active = "1";
    std::string outChannels = "16";
    std::string firstChannel = "1";
    std::string uid = "a";
    std::string name = "A";

    std::string text() const {
        return "device:\t" + active + "\t" + outChannels + "\t" + firstChannel + "\t" + uid + "\t" + name +
               "\n";
    }
};

}  // namespace orvane::test
