// Where the phone waits for the computer: a real RFCOMM channel, or a socket of this machine in its place.
#pragma once

#include "posix/Descriptor.h"

#include <cstdint>
#include <optional>
#include <string>

namespace phone {

struct Endpoint {
    enum class Kind { rfcomm, tcp, unixSocket };

    /// "rfcomm", "rfcomm:CHANNEL", "tcp:PORT" or "unix:PATH"; nothing for anything else.
    static std::optional<Endpoint> parse(const std::string& text);

    Kind kind = Kind::rfcomm;
    int number = 0;    ///< Channel (1 to 30) or port; 0: the system chooses.
    std::string path;  ///< Of the Unix socket; something else at that place is not removed.
};

/// A listening socket, and what it listens on.
struct Listening {
    orvane::Descriptor socket;
    int number = 0;  ///< The channel or port that the system chose, or the one asked for.
};

/// `adapter`: the address of the adapter that plays the phone, for RFCOMM; empty: any. Nothing on failure,
/// with errno set.
std::optional<Listening> listenOn(const Endpoint& endpoint, const std::string& adapter);

}  // namespace phone
