// What `adb devices` prints, read: which phone to serve, or why there is none.
//
// The listing is a header line, then one line a phone: its serial number, a tab, its status.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

struct AdbListing {
    /// The first phone listed with the status "device"; nothing when no phone is ready.
    std::optional<std::string> serial;
    /// A phone listed before that one (any phone, when there is none) waits for its user to accept this
    /// computer.
    bool sawUnauthorized = false;

    /// Never fails: lines that are no phone's are passed over. The first line is the header whatever it says.
    static AdbListing parse(std::string_view text);
};

}  // namespace orvane
