#include "text/HarmlessText.h"

#include "text/Characters.h"
#include "text/Trim.h"
#include "text/Utf8.h"

#include <cstdint>

#include <utf8proc.h>

namespace orvane {

namespace {

constexpr std::string_view replacement = "\uFFFD";
constexpr int maxMarks = 30;
constexpr std::int32_t joiner = 0x200D;
constexpr std::int32_t keycap = 0x20E3;

bool isControl(std::int32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

bool isSeparator(std::int32_t c) {
    return c == 0x2028 || c == 0x2029;
}

bool isBidiControl(std::int32_t c) {
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

/// Choose among the shapes of the character before them, and show nothing themselves.
bool isVariationSelector(std::int32_t c) {
    return (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0xE0100 && c <= 0xE01EF) || (c >= 0x180B && c <= 0x180D) ||
           c == 0x180F;
}

/// Default-ignorable characters (Unicode, chapter 5.21) that are no part of a letter or an emoji, and the
/// fillers, which are letters without a shape.
bool isInvisible(std::int32_t c) {
    return c == 0x00AD || c == 0x034F || c == 0x115F || c == 0x1160 || c == 0x17B4 || c == 0x17B5 ||
           c == 0x180E || c == 0x200B || c == 0x200C || (c >= 0x2060 && c <= 0x206F) || c == 0x3164 ||
           c == 0xFEFF || c == 0xFFA0 || (c >= 0xFFF0 && c <= 0xFFFB) || (c >= 0x1BCA0 && c <= 0x1BCA3) ||
           (c >= 0x1D173 && c <= 0x1D17A) || (c >= 0xE0000 && c <= 0xE00FF) || (c >= 0xE01F0 && c <= 0xE0FFF);
}

bool isMark(std::int32_t c) {
    const auto category = utf8proc_category(c);
    return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_ME;
}

bool isPictograph(std::int32_t c) {
    return utf8proc_get_property(c)->boundclass == UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
}

/// The skin tones and the emoji style, which may stand between a pictograph and its joiner.
bool isEmojiModifier(std::int32_t c) {
    return c == 0xFE0F || (c >= 0x1F3FB && c <= 0x1F3FF);
}

/// Walks once over a text and knows what came before: whether a joiner joins, and how many marks a letter
/// already has.
class Context {
  public:
    /// True when `c` is one mark too many.
    bool isTooMany(std::int32_t c) {
        marks_ = isMark(c) ? marks_ + 1 : 0;
        return marks_ > maxMarks;
    }
    bool joins(std::string_view behind) const {
        return afterPictograph_ && !behind.empty() && isPictograph(firstCodePoint(behind).value);
    }
    /// Whether a selector has something to choose: of ASCII only the keys of a keycap have two shapes.
    bool selects(std::string_view behind) const {
        const bool isKey = before_ == '#' || before_ == '*' || (before_ >= '0' && before_ <= '9');
        if (before_ < 0x80) return isKey && !behind.empty() && firstCodePoint(behind).value == keycap;
        return !isVariationSelector(before_);
    }
    void passed(std::int32_t c) {
        afterPictograph_ = isPictograph(c) || (afterPictograph_ && isEmojiModifier(c));
        before_ = c;
    }

  private:
    int marks_ = 0;
    std::int32_t before_ = 0;
    bool afterPictograph_ = false;
};

std::string standIn(std::int32_t c) {
    if (c >= 0x20 && c != 0x7F) return std::string(replacement);
    std::string picture;
    appendCodePoint(picture, c == 0x7F ? 0x2421 : 0x2400 + c);
    return picture;
}

}  // namespace

std::string harmless(std::string_view text, Layout layout) {
    std::string result;
    result.reserve(text.size());
    Context context;
    while (!text.empty()) {
        const CodePoint c = firstCodePoint(text);
        const std::string_view bytes = text.substr(0, c.length);
        text.remove_prefix(c.length);
        const bool isInvalid = c.value == replacementCharacter && bytes != replacement;
        const bool isLayout = layout == Layout::lines && (c.value == '\n' || c.value == '\t');
        const bool isLone = (c.value == joiner && !context.joins(text)) ||
                            (isVariationSelector(c.value) && !context.selects(text));
        context.passed(c.value);
        if (context.isTooMany(c.value)) continue;
        if (isInvalid || (isControl(c.value) && !isLayout) || isSeparator(c.value) ||
            isBidiControl(c.value) || isInvisible(c.value) || isLone) {
            result += isInvalid ? replacement : standIn(c.value);
        } else {
            result += bytes;
        }
    }
    return result;
}

std::string nameFromOutside(std::string_view name) {
    std::string line;
    Context context;
    while (!name.empty()) {
        const CodePoint c = firstCodePoint(name);
        const bool isBlank = isControl(c.value) || isSeparator(c.value) || isBidiControl(c.value);
        if (!context.isTooMany(c.value)) appendCodePoint(line, isBlank ? ' ' : c.value);
        name.remove_prefix(c.length);
    }
    const std::string_view trimmed = firstCodePoints(trimWhitespaceAndNewlines(line), maxNameCodePoints);
    const std::string_view kept = trimmed.substr(0, prefixLength(trimmed, maxNameCharacters));
    return std::string(trimWhitespaceAndNewlines(kept));
}

}  // namespace orvane
