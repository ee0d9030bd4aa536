#include "text/HarmlessText.h"
#include "text/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

std::string repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

TEST(HarmlessTextTest, PlainTextOfAnyScriptStaysAsItIs) {
    const std::string text = "R&D _x ● Küche 日本 👩‍🔧 שלום e\u0301";
    EXPECT_EQ(harmless(text), text);
}

TEST(HarmlessTextTest, EscapeSequencesBecomeVisible) {
    EXPECT_EQ(harmless("\x1b[2J\x1b]0;x\a"), "␛[2J␛]0;x␇");
}

TEST(HarmlessTextTest, ControlCharactersHavePictures) {
    EXPECT_EQ(harmless(std::string("a\0b\r\n\t\b\x7f", 8)), "a␀b␍␊␉␈␡");
}

TEST(HarmlessTextTest, EightBitControlsAreReplaced) {
    EXPECT_EQ(harmless("\u0080\u0085\u009b2J\u009f\u00a0"), "\uFFFD\uFFFD\uFFFD2J\uFFFD\u00a0");
}

TEST(HarmlessTextTest, DirectionControlsAreReplaced) {
    EXPECT_EQ(harmless("\u202Eabc\u202C\u2066\u2069\u200F\u200E\u061C"),
              "\uFFFDabc\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(HarmlessTextTest, LineAndParagraphSeparatorsAreReplaced) {
    EXPECT_EQ(harmless("a\u2028b\u2029"), "a\uFFFDb\uFFFD");
    EXPECT_EQ(harmless("a\u2028b", Layout::lines), "a\uFFFDb");
}

TEST(HarmlessTextTest, InvalidBytesAreReplacedOneByOne) {
    EXPECT_EQ(harmless("a\xff\xc3z\xed\xa0\x80"), "a\uFFFD\uFFFDz\uFFFD\uFFFD\uFFFD");
}

TEST(HarmlessTextTest, ALogKeepsItsLinesAndTabsAndNothingElse) {
    EXPECT_EQ(harmless("one\n\ttwo\r\n\x1b[0m", Layout::lines), "one\n\ttwo␍\n␛[0m");
}

TEST(HarmlessTextTest, CharactersThatShowNothingAreReplaced) {
    for (const std::string hidden :
         {"\u00AD",     "\u034F",     "\u115F",     "\u1160",     "\u17B4",     "\u180B",
          "\u180E",     "\u200B",     "\u200C",     "\u2060",     "\u2064",     "\u206F",
          "\u3164",     "\uFE00",     "\uFE0F",     "\uFEFF",     "\uFFA0",     "\uFFF0",
          "\U0001BCA0", "\U0001D173", "\U000E0041", "\U000E0080", "\U000E0100", "\U000E0FFF"}) {
        EXPECT_EQ(harmless("Pix" + hidden + "el"), "Pix\uFFFDel") << testing::PrintToString(hidden);
    }
}

TEST(HarmlessTextTest, NothingElseIsReplacedBehindALetter) {
    const std::pair<std::int32_t, std::int32_t> replaced[] = {
        {0x00, 0x1F},     {0x7F, 0x9F},       {0xAD, 0xAD},       {0x34F, 0x34F},     {0x61C, 0x61C},
        {0x115F, 0x1160}, {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},   {0x2028, 0x202E},
        {0x2060, 0x206F}, {0x3164, 0x3164},   {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
        {0xFFF0, 0xFFFB}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
    };
    const auto isReplaced = [&](std::int32_t c) {
        return std::ranges::any_of(replaced,
                                   [c](const auto& range) { return c >= range.first && c <= range.second; });
    };
    for (std::int32_t c = 0; c < 0xE1010; ++c) {
        if (c == 0x3200) c = 0xFD00;  // Letters and more letters.
        if (c == 0xFFFD) continue;    // What others are replaced with.
        if (c == 0x1FFFF) c = 0xDFF00;
        std::string letter;
        appendCodePoint(letter, c);
        EXPECT_EQ(harmless("x" + letter) != "x" + letter, isReplaced(c)) << std::hex << c;
    }
}

TEST(HarmlessTextTest, EverySkinToneAndKeycapStaysWhole) {
    for (std::int32_t tone = 0x1F3FB; tone <= 0x1F3FF; ++tone) {
        std::string worker = "\U0001F469";
        appendCodePoint(worker, tone);
        worker += "\u200D\U0001F527";
        EXPECT_EQ(harmless(worker), worker);
    }
    for (const char key : std::string_view("0123456789#*"))
        EXPECT_EQ(harmless(key + std::string("\uFE0F\u20E3")), key + std::string("\uFE0F\u20E3"));
}

TEST(HarmlessTextTest, AJoinerBehindAnythingElseIsReplaced) {
    EXPECT_EQ(harmless("\U0001F469x\u200D\U0001F527"), "\U0001F469x\uFFFD\U0001F527");
    EXPECT_EQ(harmless("\U0001F469\U0001F1E9\u200D\U0001F527"), "\U0001F469\U0001F1E9\uFFFD\U0001F527");
    EXPECT_EQ(harmless("x\U0001F3FD\u200D\U0001F527"), "x\U0001F3FD\uFFFD\U0001F527");
}

TEST(HarmlessTextTest, AJoinerStaysBetweenTwoEmojiOnly) {
    const std::string family = "\U0001F469\U0001F3FD\u200D\U0001F527 \u2764\uFE0F\u200D\U0001F525";
    EXPECT_EQ(harmless(family), family);
    EXPECT_EQ(harmless("a\u200Db"), "a\uFFFDb");
    EXPECT_EQ(harmless("\U0001F469\u200D"), "\U0001F469\uFFFD");
    EXPECT_EQ(harmless("a\u200D\U0001F527"), "a\uFFFD\U0001F527");
    EXPECT_EQ(harmless("\u200D\U0001F527"), "\uFFFD\U0001F527");
}

TEST(HarmlessTextTest, AVariationSelectorStaysWhereThereIsSomethingToChoose) {
    for (const std::string shaped : {"\u2764\uFE0F", "1\uFE0F\u20E3", "\u845B\U000E0100", "\u1820\u180B"})
        EXPECT_EQ(harmless(shaped), shaped);
    EXPECT_EQ(harmless("Pixel 8\uFE0F"), "Pixel 8\uFFFD");
    EXPECT_EQ(harmless("\uFE0F\u20E3"), "\uFFFD\u20E3");
    EXPECT_EQ(harmless("\u2764\uFE0F\uFE0F"), "\u2764\uFE0F\uFFFD");
}

TEST(HarmlessTextTest, ThirtyMarksOnOneLetterAreEnough) {
    const std::string thirty = "a" + repeated("\u0301", 30);
    EXPECT_EQ(harmless(thirty), thirty);
    EXPECT_EQ(harmless(thirty.substr(1)), thirty.substr(1)) << "though there is no letter";
    EXPECT_EQ(harmless(thirty + repeated("\u0301", 5) + "b\u0301"), thirty + "b\u0301");
}

TEST(NameFromOutsideTest, IsOneLineWhateverItHolds) {
    EXPECT_EQ(nameFromOutside("Pixel\nsessions: 1\nsession:\t0"), "Pixel sessions: 1 session: 0");
    EXPECT_EQ(nameFromOutside("a\vb\fc\rd\u0085e\u2028f\u2029g"), "a b c d e f g");
    EXPECT_EQ(nameFromOutside("\x1b[2Jx\u009by\u202Ez\u2066"), "[2Jx y z");
    EXPECT_EQ(nameFromOutside(std::string("a\0b", 3)), "a b");
}

TEST(NameFromOutsideTest, EveryDirectionControlIsASpace) {
    for (const std::string control : {"\u061C", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C", "\u202D",
                                      "\u202E", "\u2066", "\u2067", "\u2068", "\u2069"})
        EXPECT_EQ(nameFromOutside("a" + control + "b"), "a b") << control;
}

TEST(NameFromOutsideTest, IsTrimmedAndMayBeEmpty) {
    EXPECT_EQ(nameFromOutside(" \t Pixel 8 \n"), "Pixel 8");
    EXPECT_EQ(nameFromOutside(" \n\t\u202E "), "");
    EXPECT_EQ(nameFromOutside(""), "");
}

TEST(NameFromOutsideTest, HasAtMostSoManyCharactersAndMarks) {
    EXPECT_EQ(nameFromOutside(repeated("e\u0301", 128)), repeated("e\u0301", 128));
    EXPECT_EQ(nameFromOutside(repeated("e\u0301", 129)), repeated("e\u0301", 128));
    EXPECT_EQ(nameFromOutside(repeated("x", 127) + "  end"), repeated("x", 127));
    EXPECT_EQ(nameFromOutside("a" + repeated("\u0301", 1000)), "a" + repeated("\u0301", 30));
}

TEST(NameFromOutsideTest, ACharacterThatNeverEndsIsCutToo) {
    for (const std::string endless : {"\u1100", "\U0001F469\u200D", "\u0915\u094D\u200D"}) {
        const std::string name = nameFromOutside(repeated(endless, 100'000));
        EXPECT_LE(name.size(), 4 * maxNameCodePoints) << testing::PrintToString(endless);
        EXPECT_TRUE(name.starts_with(endless));
    }
    const std::string families = repeated("\U0001F469\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466", 128);
    EXPECT_EQ(nameFromOutside(families), families);
}

TEST(NameFromOutsideTest, KeepsOrdinaryNamesAsTheyAre) {
    const std::string name = "Zoë’s R&D _phone_ <b> 日本 👩‍🔧";
    EXPECT_EQ(nameFromOutside(name), name);
    EXPECT_EQ(nameFromOutside("a\xffz"), "a\uFFFDz");
}

}  // namespace

}  // namespace orvane::test
