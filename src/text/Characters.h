// User-perceived characters: the extended grapheme clusters of Unicode Standard Annex #29. A letter with its
// accents is one, so is a flag, a family of emoji, and CR LF. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orvane {

/// True of Latin letters, punctuation, symbols and the controls among them: none is a mark, and no two of
/// them are one character but CR LF. Most text is of these, and ours always. Who asks this first leaves
/// utf8proc's tables out of memory.
constexpr bool standsAlone(std::int32_t codePoint) {
    return codePoint < 0x0300 || (codePoint >= 0x2010 && codePoint < 0x20D0) ||
           (codePoint >= 0x2100 && codePoint < 0x2C00);
}

/// Counts the characters of a text that arrives in pieces: the sum of all counts is the count of the whole.
class CharacterCounter {
  public:
    /// The number of characters that begin in `text`, which continues what was given before. The first code
    /// point begins none when it belongs to the last character of what came before.
    std::size_t count(std::string_view text);

    /// Reads one code point; true when a character begins with it.
    bool begins(std::int32_t codePoint);

    /// As `count`, for ASCII alone, of which there is some.
    std::size_t countAscii(std::string_view text);

  private:
    static constexpr std::int32_t none = -1;

    std::int32_t last_ = none;     ///< The last code point read.
    std::int32_t breakState_ = 0;  ///< What utf8proc must remember of the character that `last_` belongs to.
};

/// The length of `text` up to where one more than `characters` characters have begun in it, in bytes; its
/// whole length when no more begin. `counter` has counted what comes before `text`.
std::size_t prefixLength(std::string_view text, std::size_t characters, CharacterCounter counter = {});

}  // namespace orvane
