#include "terminal/LineEditor.h"

#include <algorithm>
#include <utility>

#include <utf8proc.h>

namespace orvane {

namespace {

enum Key : unsigned char {
    controlD = 0x04,
    backspace = 0x08,
    lineFeed = 0x0A,
    carriageReturn = 0x0D,
    controlU = 0x15,
    controlW = 0x17,
    escape = 0x1B,
    erase = 0x7F,
};

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The beginning of the last character in `text`, which is not empty.
std::size_t lastCharacter(std::string_view text) {
    std::size_t begin = text.size() - 1;
    while (begin > 0 && isContinuation(text[begin]))
        --begin;
    return begin;
}

// Of the character that begins with `lead`, in bytes.
std::size_t lengthOf(char lead) {
    const auto length = utf8proc_utf8class[static_cast<unsigned char>(lead)];
    return length > 0 ? static_cast<std::size_t>(length) : 1;
}

int widthOf(std::string_view character) {
    utf8proc_int32_t c = 0;
    const auto count = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(character.data()),
                                        static_cast<utf8proc_ssize_t>(character.size()), &c);
    return count > 0 ? utf8proc_charwidth(c) : 1;
}

}  // namespace

LineEditor::Event LineEditor::feed(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    if (escape_ != Escape::none && code >= 0x20) {
        skipEscape(code);
        return Event::none;
    }
    escape_ = Escape::none;  // Another key: Escape itself was pressed, which writes nothing.
    switch (code) {
        case lineFeed:
        case carriageReturn:
            return Event::line;
        case controlD:
            return text_.empty() ? Event::end : Event::none;
        case backspace:
        case erase:
            eraseCharacter();
            return Event::none;
        case controlU:
            takeLine();
            return Event::none;
        case controlW:
            eraseWord();
            return Event::none;
        case escape:
            escape_ = Escape::begun;
            return Event::none;
        default:
            if (code >= 0x20) append(byte);
            return Event::none;
    }
}

// Whole characters only: half of one would make the whole line unreadable.
void LineEditor::append(char byte) {
    isFull_ = isFull_ || text_.size() + (isContinuation(byte) ? 1 : lengthOf(byte)) > maxLine;
    if (!isFull_) text_ += byte;
}

std::string LineEditor::takeLine() {
    isFull_ = false;
    return std::exchange(text_, {});
}

// Keys such as the arrows send ESC [ parameters letter, or ESC O letter (ECMA-48, 5.4).
void LineEditor::skipEscape(unsigned char byte) {
    if (escape_ == Escape::begun && (byte == '[' || byte == 'O'))
        escape_ = Escape::control;
    else if (escape_ == Escape::begun || byte >= 0x40)
        escape_ = Escape::none;
}

void LineEditor::eraseCharacter() {
    isFull_ = false;
    if (!text_.empty()) text_.resize(lastCharacter(text_));
}

void LineEditor::eraseWord() {
    isFull_ = false;
    while (!text_.empty() && text_.back() == ' ')
        text_.pop_back();
    while (!text_.empty() && text_.back() != ' ')
        text_.pop_back();
}

std::string_view tailWithin(std::string_view text, int width) {
    std::size_t begin = text.size();
    while (begin > 0) {
        const std::size_t previous = lastCharacter(text.substr(0, begin));
        width -= widthOf(text.substr(previous, begin - previous));
        if (width < 0) break;
        begin = previous;
    }
    return text.substr(begin);
}

}  // namespace orvane
