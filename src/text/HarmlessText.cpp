#include "text/HarmlessText.h"

#include "text/Characters.h"
#include "text/Trim.h"
#include "text/Utf8.h"

#include <algorithm>
#include <cstdint>

#include <utf8proc.h>

namespace orvane {

namespace {

constexpr std::string_view replacement = "\uFFFD";
constexpr int maxMarks = 30;
constexpr std::int32_t vowelSeparator = 0x180E;
constexpr std::int32_t nonJoiner = 0x200C;
constexpr std::int32_t joiner = 0x200D;
constexpr std::int32_t keycap = 0x20E3;
constexpr std::int32_t blackFlag = 0x1F3F4;

/// What is spelled behind a black flag to make it that of England, Scotland or Wales, in letters that show
/// nothing themselves. Any other word there would be hidden: emoji fonts have a black flag for it.
constexpr std::string_view flagTags[] = {
    "\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F",
    "\U000E0067\U000E0062\U000E0073\U000E0063\U000E0074\U000E007F",
    "\U000E0067\U000E0062\U000E0077\U000E006C\U000E0073\U000E007F",
};

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

/// Join or part the letters and emoji around them, and show nothing themselves.
bool isShaper(std::int32_t c) {
    return c == vowelSeparator || c == nonJoiner || c == joiner;
}

/// Default-ignorable characters (Unicode, chapter 5.21) that are no part of a letter or, but for the tags of
/// a flag, an emoji; and the fillers, which are letters without a shape.
bool isInvisible(std::int32_t c) {
    return c == 0x00AD || c == 0x034F || c == 0x115F || c == 0x1160 || c == 0x17B4 || c == 0x17B5 ||
           c == 0x200B || (c >= 0x2060 && c <= 0x206F) || c == 0x3164 || c == 0xFEFF || c == 0xFFA0 ||
           (c >= 0xFFF0 && c <= 0xFFFB) || (c >= 0x1BCA0 && c <= 0x1BCA3) || (c >= 0x1D173 && c <= 0x1D17A) ||
           (c >= 0xE0000 && c <= 0xE00FF) || (c >= 0xE01F0 && c <= 0xE0FFF);
}

bool isMark(std::int32_t c) {
    if (standsAlone(c)) return false;
    const auto category = utf8proc_category(c);
    return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_ME;
}

/// Marks of all kinds, the vowels that stand beside their letter among them.
bool isOnABase(std::int32_t c) {
    if (standsAlone(c)) return false;
    const auto category = utf8proc_category(c);
    return category >= UTF8PROC_CATEGORY_MN && category <= UTF8PROC_CATEGORY_ME;
}

/// The letters of Arabic and Syriac. Not every one joins the next, but people part those that do not, too.
bool isCursive(std::int32_t c) {
    const auto category = utf8proc_category(c);
    const bool isLetter = category == UTF8PROC_CATEGORY_LO || category == UTF8PROC_CATEGORY_LM;
    return isLetter && ((c >= 0x0620 && c <= 0x077F) || (c >= 0x0860 && c <= 0x08FF));
}

/// The signs of Indic scripts that take the vowel off a letter, and tie it to the next.
bool isVirama(std::int32_t c) {
    return utf8proc_get_property(c)->combining_class == 9;
}

/// Whether `virama` can be one of `letter`: each Indic script is within a block of 128.
bool isOfScript(std::int32_t virama, std::int32_t letter) {
    return virama >> 7 == letter >> 7;
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
    /// Whether a shaper has something to shape, much as UAX #31 and RFC 5892 have it for identifiers: emoji
    /// that are joined, letters that are parted, and what a virama does to its letter.
    bool shapes(std::int32_t shaper, std::string_view behind) const {
        const std::int32_t next = behind.empty() ? 0 : firstCodePoint(behind).value;
        if (isVirama(before_)) return isOfScript(before_, base_) && shaper != vowelSeparator;
        if (shaper == nonJoiner) return isCursive(base_) && isCursive(next);
        if (shaper == joiner)
            return (isPictograph(pictograph_) && isPictograph(next)) ||
                   (isVirama(next) && isOfScript(next, base_));
        return base_ >= 0x1820 && base_ <= 0x18AA && (next == 0x1820 || next == 0x1821);
    }
    /// Whether a selector has something to choose: of ASCII only the keys of a keycap have two shapes.
    bool selects(std::string_view behind) const {
        const bool isKey = before_ == '#' || before_ == '*' || (before_ >= '0' && before_ <= '9');
        if (before_ < 0x80) return isKey && !behind.empty() && firstCodePoint(behind).value == keycap;
        return !isVariationSelector(before_);
    }
    void passed(std::int32_t c) {
        if (!isEmojiModifier(c)) pictograph_ = c;
        if (!isOnABase(c)) base_ = c;
        before_ = c;
    }

  private:
    int marks_ = 0;
    std::int32_t before_ = 0;
    std::int32_t base_ = 0;        ///< The last that is no mark.
    std::int32_t pictograph_ = 0;  ///< The last that modifies no pictograph, whatever it is.
};

std::size_t lengthOfTags(std::int32_t c, std::string_view behind) {
    if (c != blackFlag) return 0;
    const auto* const tags =
        std::ranges::find_if(flagTags, [&](std::string_view flag) { return behind.starts_with(flag); });
    return tags == std::end(flagTags) ? 0 : tags->size();
}

/// Whether `c` shows itself, and nothing else, where it stands.
bool isPlain(std::int32_t c, const Context& context, std::string_view behind) {
    if (isVariationSelector(c)) return context.selects(behind);
    if (isShaper(c)) return context.shapes(c, behind);
    return !isControl(c) && !isSeparator(c) && !isBidiControl(c) && !isInvisible(c) &&
           c != replacementCharacter;
}

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
        const std::string_view bytes =
            text.substr(0, c.length + lengthOfTags(c.value, text.substr(c.length)));
        text.remove_prefix(bytes.size());
        if (context.isTooMany(c.value)) continue;
        const bool isLayout = layout == Layout::lines && (c.value == '\n' || c.value == '\t');
        const bool isShown = isLayout || isPlain(c.value, context, text);
        context.passed(isShown ? c.value : 0);  // There is nothing to shape in a stand-in.
        if (isShown)
            result += bytes;
        else
            result += standIn(c.value);
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
