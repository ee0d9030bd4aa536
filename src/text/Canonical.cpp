#include "text/Canonical.h"

#include "text/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include <utf8proc.h>

namespace orvane {

namespace {

using CodePoints = std::vector<utf8proc_int32_t>;

bool isAscii(std::string_view text) {
    return asciiPrefixLength(text) == text.size();
}

int combiningClass(utf8proc_int32_t codePoint) {
    return static_cast<int>(utf8proc_get_property(codePoint)->combining_class);
}

void appendDecomposed(CodePoints& codePoints, utf8proc_int32_t codePoint) {
    std::array<utf8proc_int32_t, 8> parts;  // No canonical decomposition has more than four.
    int boundClass = UTF8PROC_BOUNDCLASS_START;
    const auto count =
        utf8proc_decompose_char(codePoint, parts.data(), parts.size(),
                                static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE), &boundClass);
    const auto kept = std::clamp<utf8proc_ssize_t>(count, 0, parts.size());
    codePoints.insert(codePoints.end(), parts.begin(), parts.begin() + kept);
}

/// Sorts each run of combining marks by class, as the canonical ordering algorithm does. utf8proc's own
/// exchanges neighbours, which takes minutes for a hundred kilobytes of marks.
void order(CodePoints& codePoints) {
    const auto isStarter = [](utf8proc_int32_t codePoint) { return combiningClass(codePoint) == 0; };
    for (auto run = codePoints.begin(); run != codePoints.end();) {
        run = std::find_if_not(run, codePoints.end(), isStarter);
        const auto end = std::find_if(run, codePoints.end(), isStarter);
        std::ranges::stable_sort(run, end, {}, combiningClass);
        run = end;
    }
}

/// Normalization form D of valid UTF-8.
CodePoints decomposed(std::string_view text) {
    CodePoints codePoints;
    codePoints.reserve(text.size());
    while (!text.empty()) {
        const CodePoint first = firstCodePoint(text);
        appendDecomposed(codePoints, first.value);
        text.remove_prefix(first.length);
    }
    order(codePoints);
    return codePoints;
}

}  // namespace

bool canonicallyEqual(std::string_view left, std::string_view right) {
    if (left == right) return true;
    if (isAscii(left) && isAscii(right)) return false;  // As most texts are: no table need be looked at.
    if (!isValidUtf8(left) || !isValidUtf8(right)) return false;
    return decomposed(left) == decomposed(right);
}

}  // namespace orvane
