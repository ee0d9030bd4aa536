// Text handled in the plain way, code point by code point with no shortcut, to compare the fast ways with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <utf8proc.h>

namespace orvane::test {

/// The code points of `text` as pieces of it; nothing when `text` is no UTF-8.
inline bool codePointsOf(std::string_view text, std::vector<std::string_view>& pieces,
                         std::vector<std::int32_t>& values) {
    pieces.reserve(text.size());
    values.reserve(text.size());
    while (!text.empty()) {
        utf8proc_int32_t value = 0;
        const utf8proc_ssize_t length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                             static_cast<utf8proc_ssize_t>(text.size()), &value);
        if (length <= 0) return false;
        pieces.push_back(text.substr(0, static_cast<std::size_t>(length)));
        values.push_back(value);
        text.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

/// The user-perceived characters of a text that is UTF-8.
inline std::vector<std::string_view> charactersOf(std::string_view text) {
    std::vector<std::string_view> pieces;
    std::vector<std::int32_t> values;
    codePointsOf(text, pieces, values);
    std::vector<std::string_view> characters;
    utf8proc_int32_t state = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i == 0 || utf8proc_grapheme_break_stateful(values[i - 1], values[i], &state)) {
            characters.push_back(pieces[i]);
        } else {
            const std::string_view begun = characters.back();
            characters.back() = {begun.data(), begun.size() + pieces[i].size()};
        }
    }
    return characters;
}

/// The lines of a text that is UTF-8, without the empty ones.
inline std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string_view> pieces;
    std::vector<std::int32_t> values;
    codePointsOf(text, pieces, values);
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i <= values.size(); ++i) {
        const std::int32_t value = i < values.size() ? values[i] : '\n';
        const bool isNewline =
            (value >= 0x0A && value <= 0x0D) || value == 0x85 || value == 0x2028 || value == 0x2029;
        if (!isNewline) {
            line += pieces[i];
        } else if (!line.empty()) {
            lines.push_back(line);
            line.clear();
        }
    }
    return lines;
}

/// The log as it is defined: one long text, counted anew after each append.
class PlainLog {
  public:
    PlainLog(std::size_t limit, std::size_t kept) : limit_(limit), kept_(kept) {}

    void append(std::string_view chunk) {
        text += chunk;
        const std::vector<std::string_view> characters = charactersOf(text);
        characterCount = characters.size();
        if (characterCount <= limit_) return;
        const std::string_view firstKept = characters[characterCount - kept_];
        text.erase(0, static_cast<std::size_t>(firstKept.data() - text.data()));
        characterCount = kept_;
    }

    std::string text;
    std::size_t characterCount = 0;

  private:
    std::size_t limit_;
    std::size_t kept_;
};

}  // namespace orvane::test
