#include "text/Case.h"

#include "text/Utf8.h"

#include <array>
#include <cstdint>

#include <utf8proc.h>

namespace orvane {

namespace {

/// utf8proc knows only mappings of one code point to one. Those to several are reached through its case
/// folding, which is full: "ß" folds to "ss", and each of these has its simple upper case.
void appendUppercased(std::string& text, std::int32_t codePoint) {
    std::array<utf8proc_int32_t, 8> folded;
    int boundClass = UTF8PROC_BOUNDCLASS_START;
    const utf8proc_ssize_t count =
        utf8proc_decompose_char(codePoint, folded.data(), static_cast<utf8proc_ssize_t>(folded.size()),
                                UTF8PROC_CASEFOLD, &boundClass);
    const bool isUppercase = utf8proc_category(codePoint) == UTF8PROC_CATEGORY_LU;
    if (isUppercase || count < 2) return appendCodePoint(text, utf8proc_toupper(codePoint));
    for (utf8proc_ssize_t i = 0; i < count; ++i)
        appendCodePoint(text, utf8proc_toupper(folded[i]));
}

}  // namespace

std::string uppercased(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const CodePoint first = firstCodePoint(text);
        const std::string_view bytes = text.substr(0, first.length);
        if (isValidUtf8(bytes)) {
            appendUppercased(result, first.value);
        } else {
            result += bytes;
        }
        text.remove_prefix(first.length);
    }
    return result;
}

}  // namespace orvane
