#include "text/HarmlessText.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

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

}  // namespace

}  // namespace orvane::test
