#include "text/Utf8.h"

#include "text/ByteBlock.h"

#include <algorithm>
#include <array>

#include <utf8proc.h>

namespace orvane {

namespace {

constexpr std::size_t maxSequence = 4;

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/// The bytes of the well-formed sequence at the start of `text`, whose first byte is not ASCII; 0 if none is
/// there. The ranges of the second byte are those of RFC 3629, section 4.
std::size_t sequenceLength(std::string_view text) {
    const auto at = [&](std::size_t i) -> unsigned char { return i < text.size() ? text[i] : 0; };
    const unsigned char first = at(0);
    const unsigned char second = at(1);
    if (!isContinuation(second)) return 0;
    if (first >= 0xC2 && first <= 0xDF) return 2;
    if (!isContinuation(at(2))) return 0;
    if (first >= 0xE0 && first <= 0xEF) {
        if (first == 0xE0 && second < 0xA0) return 0;
        if (first == 0xED && second > 0x9F) return 0;
        return 3;
    }
    if (first < 0xF0 || first > 0xF4 || !isContinuation(at(3))) return 0;
    if (first == 0xF0 && second < 0x90) return 0;
    if (first == 0xF4 && second > 0x8F) return 0;
    return 4;
}

}  // namespace

std::size_t asciiPrefixLength(std::string_view text) {
    constexpr std::size_t block = sizeof(ByteBlock);
    std::size_t length = 0;
    for (; length + 4 * block <= text.size(); length += 4 * block) {
        const char* bytes = text.data() + length;
        if (anyBit(loadBlock(bytes) | loadBlock(bytes + block) | loadBlock(bytes + 2 * block) |
                       loadBlock(bytes + 3 * block),
                   0x80)) {
            break;
        }
    }
    while (length + block <= text.size() && !anyBit(loadBlock(text.data() + length), 0x80))
        length += block;
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80)
        ++length;
    return length;
}

bool isValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        if (static_cast<unsigned char>(bytes.front()) < 0x80) {
            bytes.remove_prefix(asciiPrefixLength(bytes));
            continue;
        }
        const std::size_t length = sequenceLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

CodePoint firstCodePoint(std::string_view text) {
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto available = static_cast<utf8proc_ssize_t>(std::min(text.size(), maxSequence));
    utf8proc_int32_t value = 0;
    const utf8proc_ssize_t length = utf8proc_iterate(bytes, available, &value);
    if (length <= 0) return {replacementCharacter, 1};
    return {value, static_cast<std::size_t>(length)};
}

std::string_view firstCodePoints(std::string_view text, std::size_t count) {
    std::size_t length = 0;
    for (; count > 0 && length < text.size(); --count)
        length += firstCodePoint(text.substr(length)).length;
    return text.substr(0, length);
}

CodePoint lastCodePoint(std::string_view text) {
    for (std::size_t length = 1; length <= std::min(text.size(), maxSequence); ++length) {
        const std::string_view end = text.substr(text.size() - length);
        if (isContinuation(end.front())) continue;
        const CodePoint candidate = firstCodePoint(end);
        if (candidate.length == length) return candidate;
        break;
    }
    return {replacementCharacter, 1};
}

void appendCodePoint(std::string& text, std::int32_t codePoint) {
    std::array<utf8proc_uint8_t, 4> bytes;
    const utf8proc_ssize_t length = utf8proc_encode_char(codePoint, bytes.data());
    text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
}

}  // namespace orvane
