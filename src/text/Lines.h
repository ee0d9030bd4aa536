// Splitting text into lines at every newline character that Unicode knows. Any thread.
#pragma once

#include "text/ByteBlock.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace orvane {

/// True for LF to CR and for the first bytes of U+0085, U+2028 and U+2029.
inline bool mayBeginNewline(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x0A && byte <= 0x0D) || byte == 0xC2 || byte == 0xE2;
}

/// The length of the newline character at the start of `text`; 0 if there is none. CR LF counts as its CR.
inline std::size_t newlineLength(std::string_view text) {
    if (!mayBeginNewline(text.front())) return 0;
    if (text.front() >= 0x0A && text.front() <= 0x0D) return 1;
    if (text.starts_with("\xC2\x85")) return 2;
    return text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9") ? 3 : 0;
}

/// False only when `text` surely holds no newline character.
inline bool mayHoldNewline(std::string_view text) {
    constexpr std::size_t size = sizeof(ByteBlock);
    if (text.size() < size) return std::any_of(text.begin(), text.end(), mayBeginNewline);
    const auto suspects = [&](std::size_t at) {
        const ByteBlock block = loadBlock(text.data() + at);
        return ByteBlock((block - 0x0A <= 0x0D - 0x0A) | (block == 0xC2) | (block == 0xE2));
    };
    // The last block reaches back over bytes already seen.
    ByteBlock found = suspects(text.size() - size);
    for (std::size_t at = 0; at + size < text.size(); at += size)
        found |= suspects(at);
    return anyBit(found);
}

/// As `forEachLine`, byte by byte.
template <typename Handle>
void forEachLineByByte(std::string_view text, Handle&& handle) {
    std::size_t length = 0;
    while (length < text.size()) {
        const std::size_t newline = newlineLength(text.substr(length));
        if (newline == 0) {
            ++length;
            continue;
        }
        if (length > 0) handle(text.substr(0, length));
        text.remove_prefix(length + newline);
        length = 0;
    }
    if (length > 0) handle(text);
}

/// Calls `handle(std::string_view line)` with each line of `text`, in order. A line ends at LF, VT, FF, CR,
/// CR LF, U+0085, U+2028, U+2029 or the end of the text. Empty lines are left out, so CR LF needs no care of
/// its own. The views are into `text`.
template <typename Handle>
void forEachLine(std::string_view text, Handle&& handle) {
    // Nearly all newlines are LF or CR LF, and the C library finds an LF fastest.
    while (!text.empty()) {
        const std::size_t lf = text.find('\n');
        std::string_view line = text.substr(0, lf);
        text.remove_prefix(lf == std::string_view::npos ? text.size() : lf + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (mayHoldNewline(line)) {
            forEachLineByByte(line, handle);
        } else if (!line.empty()) {
            handle(line);
        }
    }
}

}  // namespace orvane
