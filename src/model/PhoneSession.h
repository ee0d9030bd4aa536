// One phone that is streaming into the server, as the server reports it. A plain value.
#pragma once

#include "text/Canonical.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// The members are in the order of the fields on the status line.
struct PhoneSession {
    std::int64_t slot;
    std::int64_t firstChannel;  ///< Of the phone's stereo pair on the loopback device, from 1.
    std::uint64_t packets;      ///< Received so far.
    std::int64_t bufferMs;      ///< Depth of the jitter buffer.
    std::int64_t targetMs;      ///< The depth the server aims for.
    std::int64_t xruns;         ///< Times the buffer ran empty or over.
    double rttMs;
    double netDelayMs;  ///< Below 0 when unknown.
    CanonicalText preset;
    CanonicalText label;
    CanonicalText format;
    std::uint32_t deviceId;  ///< The server's number for the phone.
    CanonicalText name;      ///< May hold tabs.

    /// Reads a whole status line, without its line end:
    /// "session:", slot, firstChannel, packets, bufferMs, targetMs, xruns, rttMs, netDelayMs, preset, label,
    /// format, deviceId, name, separated by single tabs. Nothing when a field is missing or no number.
    static std::optional<PhoneSession> parse(std::string_view line);

    bool isSilent() const;
    /// The channels of the pair, as in "3–4". A first channel that has no successor ends the program.
    std::string channelLabel() const;

    /// Numbers as C++ compares them (so NaN is unequal to itself), texts by canonical equivalence.
    bool operator==(const PhoneSession&) const = default;
};

}  // namespace orvane
