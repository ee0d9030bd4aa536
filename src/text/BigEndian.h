// Numbers as networks write them: the most significant byte first.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace orvane {

/// The number that `bytes` write; 0 when there is none. Of more than eight bytes the last eight count.
constexpr std::uint64_t bigEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

/// The four bytes of `value` at the end of `bytes`.
inline void appendBigEndian(std::vector<std::uint8_t>& bytes, std::uint32_t value) {
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

}  // namespace orvane
