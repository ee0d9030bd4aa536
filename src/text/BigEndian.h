// Numbers as networks write them: the most significant byte first.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace orvane {

/// The number that `bytes` write; 0 when there is none. Of more than eight bytes the last eight count.
constexpr std::uint64_t bigEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

constexpr std::array<std::uint8_t, 4> bigEndianBytes(std::uint32_t value) {
    return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
            static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

}  // namespace orvane
