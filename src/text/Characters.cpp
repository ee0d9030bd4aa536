#include "text/Characters.h"

#include "text/Utf8.h"

#include <utility>

#include <utf8proc.h>

namespace orvane {

namespace {

std::size_t countCrLf(std::string_view text) {
    if (text.find('\r') == std::string_view::npos) return 0;
    std::size_t count = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i - 1] == '\r' && text[i] == '\n') ++count;
    }
    return count;
}

}  // namespace

std::size_t CharacterCounter::count(std::string_view text) {
    std::size_t characters = 0;
    while (!text.empty()) {
        if (const std::size_t ascii = asciiPrefixLength(text)) {
            characters += countAscii(text.substr(0, ascii));
            text.remove_prefix(ascii);
        } else {
            const CodePoint first = firstCodePoint(text);
            characters += begins(first.value);
            text.remove_prefix(first.length);
        }
    }
    return characters;
}

bool CharacterCounter::begins(std::int32_t codePoint) {
    const std::int32_t before = std::exchange(last_, codePoint);
    if (before == none) return true;
    bool isBreak;
    if (standsAlone(before) && standsAlone(codePoint)) {
        isBreak = before != '\r' || codePoint != '\n';
    } else {
        isBreak = utf8proc_grapheme_break_stateful(before, codePoint, &breakState_);
    }
    if (isBreak) breakState_ = 0;
    return isBreak;
}

std::size_t CharacterCounter::countAscii(std::string_view text) {
    // Only the first byte can belong to what came before; behind it every byte is a character but the LF of
    // a CR LF.
    const bool firstBegins = begins(static_cast<unsigned char>(text.front()));
    last_ = static_cast<unsigned char>(text.back());
    breakState_ = 0;
    return firstBegins + (text.size() - 1) - countCrLf(text);
}

std::size_t prefixLength(std::string_view text, std::size_t characters, CharacterCounter counter) {
    std::size_t begun = 0;
    std::size_t length = 0;
    while (length < text.size()) {
        const std::string_view rest = text.substr(length);
        // As many bytes as characters are missing cannot hold too many characters.
        if (const std::size_t ascii = asciiPrefixLength(rest.substr(0, characters - begun))) {
            begun += counter.countAscii(rest.substr(0, ascii));
            length += ascii;
            continue;
        }
        const CodePoint first = firstCodePoint(rest);
        if (counter.begins(first.value) && begun++ == characters) break;
        length += first.length;
    }
    return length;
}

}  // namespace orvane
