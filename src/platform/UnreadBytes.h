// How far the program at the other end of a connection on this computer has read.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

namespace orvane {

/// How many of the bytes that were written to the TCP connection `socket` the program at its other end has
/// not read yet, wherever they are; nothing where the system does not say. Main thread, short.
using UnreadBytes = std::function<std::optional<std::size_t>(int socket)>;

/// For a system that does not say.
inline std::optional<std::size_t> unreadBytesUnknown(int) {
    return std::nullopt;
}

}  // namespace orvane
