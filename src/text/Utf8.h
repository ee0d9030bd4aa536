// UTF-8: whether bytes are text at all, and its code points one by one. Pure functions, any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvane {

/// Strict (RFC 3629): no overlong forms, no surrogates, nothing above U+10FFFF, no sequence cut short.
bool isValidUtf8(std::string_view bytes);

/// The number of ASCII bytes at the start of `text`.
std::size_t asciiPrefixLength(std::string_view text);

/// One code point and the number of bytes it takes.
struct CodePoint {
    std::int32_t value;
    std::size_t length;
};

/// What a byte that begins no well-formed sequence is read as, by itself.
constexpr std::int32_t replacementCharacter = 0xFFFD;

/// The first code point of `text`, which is not empty.
CodePoint firstCodePoint(std::string_view text);

/// The beginning of `text` with at most so many code points.
std::string_view firstCodePoints(std::string_view text, std::size_t count);

/// The last code point of `text`, which is not empty.
CodePoint lastCodePoint(std::string_view text);

void appendCodePoint(std::string& text, std::int32_t codePoint);

}  // namespace orvane
