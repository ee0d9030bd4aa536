#include "text/HarmlessText.h"

#include <utf8proc.h>

namespace orvane {

namespace {

constexpr std::string_view replacement = "\uFFFD";

bool isBidiControl(utf8proc_int32_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

void appendCharacter(std::string& text, utf8proc_int32_t c) {
    utf8proc_uint8_t bytes[4];
    const auto count = utf8proc_encode_char(c, bytes);
    text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
}

}  // namespace

std::string harmless(std::string_view text, Layout layout) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        utf8proc_int32_t c = 0;
        const auto count = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                            static_cast<utf8proc_ssize_t>(text.size()), &c);
        if (count <= 0) {
            result += replacement;
            text.remove_prefix(1);
            continue;
        }
        const bool isLayout = layout == Layout::lines && (c == '\n' || c == '\t');
        if (c < 0x20 && !isLayout)
            appendCharacter(result, 0x2400 + c);
        else if (c == 0x7F)
            appendCharacter(result, 0x2421);
        else if ((c >= 0x80 && c < 0xA0) || c == 0x2028 || c == 0x2029 || isBidiControl(c))
            result += replacement;
        else
            result.append(text.substr(0, static_cast<std::size_t>(count)));
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return result;
}

}  // namespace orvane
