// Sixteen bytes examined at once: what the scanners of large texts share. The compilers turn the vector type
// into the machine's own instructions; there is no code for any one machine here.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace orvane {

using ByteBlock = unsigned char __attribute__((vector_size(16)));

inline ByteBlock loadBlock(const char* bytes) {
    ByteBlock block;
    std::memcpy(&block, bytes, sizeof block);
    return block;
}

/// True when any bit of `mask` is set in any byte of `block`.
inline bool anyBit(ByteBlock block, std::uint8_t mask = 0xFF) {
    const auto [low, high] = std::bit_cast<std::array<std::uint64_t, 2>>(block);
    return ((low | high) & (0x0101010101010101U * mask)) != 0;
}

}  // namespace orvane
