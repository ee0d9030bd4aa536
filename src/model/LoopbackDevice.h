// One audio output device that the server can play the phones into, as the server reports it. A plain value.
#pragma once

#include "text/Canonical.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

struct LoopbackDevice {
    CanonicalText uid;   ///< The audio system's lasting identifier of the device.
    CanonicalText name;  ///< May hold tabs.
    std::int64_t outChannels;
    bool isActive;              ///< The server plays into it.
    std::int64_t firstChannel;  ///< As the server reports it.

    /// Reads a whole status line, without its line end: "device:", "1" when active, outChannels,
    /// firstChannel, uid, name, separated by single tabs. Nothing when a field is missing or no number.
    static std::optional<LoopbackDevice> parse(std::string_view line);

    /// Pairs of channels to offer: at least 1, however few channels are reported.
    std::int64_t stereoPairs() const;

    /// Texts are compared by canonical equivalence.
    bool operator==(const LoopbackDevice&) const = default;
};

}  // namespace orvane
