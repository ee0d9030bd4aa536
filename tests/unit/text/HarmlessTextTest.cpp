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

void expectUnchanged(const std::string& name) {
    EXPECT_EQ(harmless(name), name) << testing::PrintToString(name);
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

TEST(HarmlessTextTest, TheLastControlHasAPictureToo) {
    EXPECT_EQ(harmless("\x1F"), "\u241F");
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

TEST(HarmlessTextTest, ANonJoinerPartsTwoArabicLettersAndNothingElse) {
    for (const std::string name :
         {"\u06AF\u0648\u0634\u06CC\u200C\u0647\u0627\u06CC \u0645\u0646",  // Persian
          "\u06A9\u0627\u0631\u200C\u0647\u0627", "\u0628\u064E\u0651\u200C\u0628", "\u0640\u200C\u0640",
          "\u0628\u20DD\u200C\u0628", "\u0620\u200C\u077F", "\u0860\u200C\u08C7", "\u08C7\u200C\u0860",
          "\u077F\u200C\u0620"})
        expectUnchanged(name);
    EXPECT_EQ(harmless("\u200C\u0628"), "\uFFFD\u0628");
    EXPECT_EQ(harmless("\u0628\u200C"), "\u0628\uFFFD");
    EXPECT_EQ(harmless("\u0628\u200C\u064E"), "\u0628\uFFFD\u064E");
    EXPECT_EQ(harmless("\u0628\u200C \u0628"), "\u0628\uFFFD \u0628");
    EXPECT_EQ(harmless("\u0628 \u200C\u0628"), "\u0628 \uFFFD\u0628");
    EXPECT_EQ(harmless("\u0628\u200C\u200C\u0628"), "\u0628\uFFFD\uFFFD\u0628");
    EXPECT_EQ(harmless("\u0628\u200D\u0628"), "\u0628\uFFFD\u0628");
    EXPECT_EQ(harmless("\u0628\u200Cx"), "\u0628\uFFFDx");
    EXPECT_EQ(harmless("x\u200C\u0628"), "x\uFFFD\u0628");
    EXPECT_EQ(harmless("\u0661\u200C\u0662"), "\u0661\uFFFD\u0662") << "digits";
    EXPECT_EQ(harmless("\u05D0\u200C\u05D1"), "\u05D0\uFFFD\u05D1") << "Hebrew";
    EXPECT_EQ(harmless("\u0780\u200C\u0781"), "\u0780\uFFFD\u0781") << "Thaana";
    EXPECT_EQ(harmless("\u0840\u200C\u0841"), "\u0840\uFFFD\u0841") << "Mandaic";
    EXPECT_EQ(harmless("\u0904\u200C\u0905"), "\u0904\uFFFD\u0905") << "Devanagari";
}

TEST(HarmlessTextTest, JoinersStayAtAViramaOfTheSameScript) {
    for (const std::string name : {"\u0DC1\u0DCA\u200D\u0DBB\u0DD3 \u0DBD\u0D82\u0D9A\u0DCF",  // Sinhala
                                   "\u0915\u094D\u200D\u0937",                                 // Hindi
                                   "\u0915\u094D\u200C\u0937", "\u0915\u093C\u094D\u200D\u092F",
                                   "\u0D05\u0D35\u0D28\u0D4D\u200D",  // Malayalam
                                   "\u0D2E\u0D28\u0D4B\u0D1C\u0D4D\u200C", "\u0D05\u0D24\u0D3E\u0D4D\u200C",
                                   "\u09B0\u200D\u09CD\u09AF\u09BE\u09AC"})  // Bengali
        expectUnchanged(name);
    for (const std::string hidden : {"\u200C", "\u200D"}) {
        EXPECT_EQ(harmless("\u0915" + hidden + "\u0937"), "\u0915\uFFFD\u0937");
        EXPECT_EQ(harmless("x\u094D" + hidden + "x"), "x\u094D\uFFFDx");
        EXPECT_EQ(harmless("x" + hidden + "\u094Dx"), "x\uFFFD\u094Dx");
        EXPECT_EQ(harmless("\u0995\u094D" + hidden), "\u0995\u094D\uFFFD") << "Bengali and Devanagari";
        EXPECT_EQ(harmless("\u0995" + hidden + "\u094D"), "\u0995\uFFFD\u094D");
        EXPECT_EQ(harmless("\u094D" + hidden), "\u094D\uFFFD");
        EXPECT_EQ(harmless("\u0915\u094D" + hidden + hidden), "\u0915\u094D" + hidden + "\uFFFD");
    }
    EXPECT_EQ(harmless("\u0915\u200C\u094D"), "\u0915\uFFFD\u094D");
    EXPECT_EQ(harmless("\u0915\u200D\u094D\u200D"), "\u0915\u200D\u094D\uFFFD");
    EXPECT_EQ(harmless("\u0915\u094D\u180E\u1820"), "\u0915\u094D\uFFFD\u1820");
}

TEST(HarmlessTextTest, AMongolianVowelSeparatorStaysBeforeItsVowel) {
    for (const std::string name : {"\u1830\u1820\u1837\u180E\u1820", "\u182C\u180B\u180E\u1821",
                                   "\u1820\u180E\u1820", "\u18AA\u180E\u1820"})
        expectUnchanged(name);
    EXPECT_EQ(harmless("\u1837\u180E"), "\u1837\uFFFD");
    EXPECT_EQ(harmless("\u1837\u180E\u1822"), "\u1837\uFFFD\u1822");
    EXPECT_EQ(harmless("\u1837\u180E\u180E\u1820"), "\u1837\uFFFD\uFFFD\u1820");
    EXPECT_EQ(harmless("x\u180E\u1820"), "x\uFFFD\u1820");
    EXPECT_EQ(harmless("\u17DC\u180E\u1820"), "\u17DC\uFFFD\u1820") << "Khmer";
    EXPECT_EQ(harmless("\u18B0\u180E\u1820"), "\u18B0\uFFFD\u1820") << "Cree";
}

/// A black flag with a word in tags, as some flags are spelled.
std::string flagOf(std::string_view word) {
    std::string flag = "\U0001F3F4";
    for (const char letter : word)
        appendCodePoint(flag, 0xE0000 + letter);
    return flag;
}

TEST(HarmlessTextTest, TheTagsOfAFlagStayAndNoOtherWordIsHidden) {
    constexpr char end = 0x7F;
    for (const std::string word : {"gbeng", "gbsct", "gbwls"}) {
        const std::string flag = flagOf(word + end);
        EXPECT_EQ(harmless(flag + flag + "x"), flag + flag + "x") << word;
        EXPECT_EQ(harmless(flagOf(word)), "\U0001F3F4" + repeated("\uFFFD", 5)) << "without an end";
        EXPECT_EQ(harmless(flag + flag.substr(4)), flag + repeated("\uFFFD", 6)) << "twice";
        EXPECT_EQ(harmless("x" + flag.substr(4)), "x" + repeated("\uFFFD", 6)) << "of no flag";
        EXPECT_EQ(harmless("\U0001F3F3" + flag.substr(4)), "\U0001F3F3" + repeated("\uFFFD", 6));
    }
    EXPECT_EQ(harmless(flagOf(std::string("evil") + end)), "\U0001F3F4" + repeated("\uFFFD", 5));
}

TEST(HarmlessTextTest, WhatIsHarmlessStaysAsItIs) {
    const std::string parts[] = {"x",      "\uFE0F", "\u200C",     "\u200D", "\u0915",
                                 "\u094D", "\u0628", "\U0001F469", "\uFFFD", repeated("\u0301", 30)};
    for (const auto& first : parts)
        for (const auto& second : parts)
            for (const auto& third : parts)
                for (const auto& fourth : parts) {
                    const std::string once = harmless(first + second + third + fourth);
                    ASSERT_EQ(harmless(once), once)
                        << testing::PrintToString(first + second + third + fourth);
                }
}

TEST(HarmlessTextTest, AStandInIsNotShaped) {
    EXPECT_EQ(harmless("\u2764\uFE0F\uFE0F\uFE0F"), "\u2764\uFE0F\uFFFD\uFFFD");
    EXPECT_EQ(harmless("\U0001F469\uFE0F\uFE0F\u200D\U0001F527"), "\U0001F469\uFE0F\uFFFD\uFFFD\U0001F527");
    EXPECT_EQ(harmless("\u0085\uFE0F"), "\uFFFD\uFFFD");
    EXPECT_EQ(harmless("\uFFFD\uFE0F"), "\uFFFD\uFFFD");
    const std::string thirty = "\u0915" + repeated("\u0301", 30);
    EXPECT_EQ(harmless(thirty + "\u094D\u200D"), thirty + "\uFFFD") << "behind a virama that is cut";
}

TEST(HarmlessTextTest, WhatStandsBesideTheShapedIsNotShaped) {
    EXPECT_EQ(harmless("\u0780\u200C\u0628"), "\u0780\uFFFD\u0628") << "a letter behind the last of Arabic";
    EXPECT_EQ(harmless("\u181F\u180E\u1820"), "\u181F\uFFFD\u1820") << "before the first of Mongolian";
    EXPECT_EQ(harmless("\u18AB\u180E\u1820"), "\u18AB\uFFFD\u1820") << "behind the last";
    for (const std::string beside :
         {"\U0001F3FA", "\U0001F400"})  // The skin tones, which are no pictographs.
        EXPECT_EQ(harmless(beside + "\u200D\U0001F525"), beside + "\u200D\U0001F525");
}

TEST(HarmlessTextTest, AVariationSelectorStaysWhereThereIsSomethingToChoose) {
    for (const std::string shaped : {"\u2764\uFE0F", "1\uFE0F\u20E3", "\u845B\U000E0100", "\u1820\u180B"})
        EXPECT_EQ(harmless(shaped), shaped);
    EXPECT_EQ(harmless("Pixel 8\uFE0F"), "Pixel 8\uFFFD");
    EXPECT_EQ(harmless("\uFE0F\u20E3"), "\uFFFD\u20E3");
    EXPECT_EQ(harmless("\u2764\uFE0F\uFE0F"), "\u2764\uFE0F\uFFFD");
    for (const std::string none : {"\U000E00FF", "\U000E01F0"})
        EXPECT_EQ(harmless("\u845B" + none), "\u845B\uFFFD") << "beside the selectors";
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
    for (const std::string none : {"a\u2065b", "a\u206Ab"})
        EXPECT_EQ(nameFromOutside(none), none);
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
    EXPECT_EQ(nameFromOutside(repeated("\u1100", 100'000)), repeated("\u1100", 1024));
    const std::string families = repeated("\U0001F469\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466", 128);
    EXPECT_EQ(nameFromOutside(families), families);
}

TEST(NameFromOutsideTest, KeepsOrdinaryNamesAsTheyAre) {
    const std::string name =
        "Zoë’s R&D _phone_ <b> 日本 👩‍🔧 گوشی‌های من ශ්‍රී ලංකා "
        "🏴󠁧󠁢󠁷󠁬󠁳󠁿";
    EXPECT_EQ(nameFromOutside(name), name);
    EXPECT_EQ(nameFromOutside("a\xffz"), "a\uFFFDz");
}

}  // namespace

}  // namespace orvane::test
