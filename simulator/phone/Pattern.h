// The bytes that stand in for audio. Each byte tells its place in the stream, so that one that is lost,
// doubled, changed or out of order is noticed at once.
#pragma once

#include <cstdint>

namespace phone {

/// Place `index` of the stream, counted from 0. Multiplying by an odd constant (from the golden ratio)
/// spreads the count over the upper bits: no period as short as a frame, a packet or a buffer.
constexpr std::uint8_t patternByte(std::uint64_t index) {
    return static_cast<std::uint8_t>((index + 1) * 0x9E3779B97F4A7C15 >> 56);
}

}  // namespace phone
