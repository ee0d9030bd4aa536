#include "text/Trim.h"

#include "text/Utf8.h"

#include <cstdint>

#include <utf8proc.h>

namespace orvane {

namespace {

bool isHorizontalSpace(std::int32_t codePoint) {
    if (codePoint < 0x80) return codePoint == '\t' || codePoint == ' ';
    return utf8proc_category(codePoint) == UTF8PROC_CATEGORY_ZS;
}

bool isWhitespaceOrNewline(std::int32_t codePoint) {
    if (codePoint < 0x80) return (codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == ' ';
    if (codePoint == 0x85) return true;
    const utf8proc_category_t category = utf8proc_category(codePoint);
    return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP;
}

template <typename Predicate>
std::string_view trim(std::string_view text, Predicate isTrimmed) {
    while (!text.empty()) {
        const CodePoint first = firstCodePoint(text);
        if (!isTrimmed(first.value)) break;
        text.remove_prefix(first.length);
    }
    while (!text.empty()) {
        const CodePoint last = lastCodePoint(text);
        if (!isTrimmed(last.value)) break;
        text.remove_suffix(last.length);
    }
    return text;
}

}  // namespace

std::string_view trimHorizontalSpace(std::string_view text) {
    return trim(text, isHorizontalSpace);
}

std::string_view trimSpacesAndTabs(std::string_view text) {
    return trim(text, [](std::int32_t codePoint) { return codePoint == ' ' || codePoint == '\t'; });
}

std::string_view trimWhitespaceAndNewlines(std::string_view text) {
    return trim(text, isWhitespaceOrNewline);
}

}  // namespace orvane
