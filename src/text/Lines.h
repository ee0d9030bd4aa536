// Splitting text into lines at every newline character that Unicode knows. Any thread.
#pragma once

#include "text/ByteBlock.h"

#include <cstddef>
#include <string_view>

namespace orvane {

/// The length of the newline character at the start of `text`; 0 if there is none. CR LF counts as its CR.
inline std::size_t newlineLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first >= 0x0A && first <= 0x0D) return 1;                    // LF, VT, FF, CR
    if (first == 0xC2) return text.starts_with("\xC2\x85") ? 2 : 0;  // U+0085 NEXT LINE
    if (first != 0xE2) return 0;
    // U+2028 LINE SEPARATOR, U+2029 PARAGRAPH SEPARATOR
    return text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9") ? 3 : 0;
}

/// True when `text` may hold a newline character other than LF: it holds one of them or one of their first
/// bytes.
inline bool mayHoldRareNewline(std::string_view text) {
    constexpr std::size_t size = sizeof(ByteBlock);
    const auto suspects = [](ByteBlock block) {
        return ByteBlock((block - 0x0B <= 0x0D - 0x0B) | (block == 0xC2) | (block == 0xE2));
    };
    if (text.size() < size) {
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            if ((byte >= 0x0B && byte <= 0x0D) || byte == 0xC2 || byte == 0xE2) return true;
        }
        return false;
    }
    // The last block reaches back over bytes already seen.
    ByteBlock found = suspects(loadBlock(text.data() + text.size() - size));
    for (std::size_t at = 0; at + size < text.size(); at += size) {
        found |= suspects(loadBlock(text.data() + at));
    }
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
        if (mayHoldRareNewline(line)) {
            forEachLineByByte(line, handle);
        } else if (!line.empty()) {
            handle(line);
        }
    }
}

}  // namespace orvane
