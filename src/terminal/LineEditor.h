// One line being typed, from the bytes that a terminal or a pipe sends. Knows the few keys that everybody
// uses, and nothing of a screen. Pure; one thread at a time.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

class LineEditor {
  public:
    enum class Event { none, line, end };

    /// Longer lines lose what is beyond this.
    static constexpr std::size_t maxLine = 4096;  ///< In bytes.

    /// Takes the next byte. `line`: the line is finished, `takeLine` has it. `end`: Ctrl-D on an empty line.
    /// Backspace, Ctrl-U and Ctrl-W erase a character, the line, a word; other keys that write nothing are
    /// skipped with all of their bytes.
    Event feed(char byte);
    /// What has been typed so far.
    const std::string& text() const { return text_; }
    /// Gives the text away and begins a new line.
    std::string takeLine();

  private:
    enum class Escape { none, begun, control };

    void append(char byte);
    void skipEscape(unsigned char byte);
    void eraseCharacter();
    void eraseWord();

    std::string text_;
    bool isFull_ = false;  ///< What is typed now is beyond the longest line.
    Escape escape_ = Escape::none;
};

/// The longest end of `text` (UTF-8) that is at most `width` cells wide on a terminal.
std::string_view tailWithin(std::string_view text, int width);

}  // namespace orvane
