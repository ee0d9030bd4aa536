#include "support/BorderedPage.h"
#include "text/Utf8.h"

#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

TEST(Utf8Test, AsciiAndEveryLengthOfSequenceAreValid) {
    EXPECT_TRUE(isValidUtf8(""));
    EXPECT_TRUE(isValidUtf8("plain\ttext\r\n\x7F"));
    EXPECT_TRUE(isValidUtf8("\x7F"));
    EXPECT_TRUE(isValidUtf8(std::string_view("a\0b", 3)));
    EXPECT_TRUE(isValidUtf8("\xC2\x80 \xDF\xBF"));
    EXPECT_TRUE(isValidUtf8("\xE0\xA0\x80 \xED\x9F\xBF \xEE\x80\x80 \xEF\xBF\xBF"));
    EXPECT_TRUE(isValidUtf8("\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF"));
    EXPECT_TRUE(isValidUtf8("\xEF\xBB\xBF with a byte order mark"));
}

TEST(Utf8Test, AsciiIsToldFromTheRestWhereverThatBegins) {
    BorderedPage page;
    for (std::size_t length = 0; length < 140; ++length) {
        std::string text(length, 'a');
        EXPECT_EQ(asciiPrefixLength(page.atFront(text)), length);
        EXPECT_EQ(asciiPrefixLength(page.atEnd(text)), length);
        for (std::size_t at = 0; at < length; ++at) {
            text[at] = '\x80';
            EXPECT_EQ(asciiPrefixLength(page.atEnd(text)), at) << length;
            text[at] = 'a';
        }
    }
    EXPECT_EQ(asciiPrefixLength(std::string(1000, '\x80')), 0U);
}

TEST(Utf8Test, OverlongFormsAreInvalid) {
    EXPECT_FALSE(isValidUtf8("\xC0\x80"));
    EXPECT_FALSE(isValidUtf8("\xC1\xBF"));
    EXPECT_FALSE(isValidUtf8("\xE0\x9F\xBF"));
    EXPECT_FALSE(isValidUtf8("\xF0\x8F\xBF\xBF"));
}

TEST(Utf8Test, SurrogatesAreInvalid) {
    EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));
    EXPECT_FALSE(isValidUtf8("\xED\xBF\xBF"));
}

TEST(Utf8Test, NothingAboveTheLastCodePointIsValid) {
    EXPECT_FALSE(isValidUtf8("\xF4\x90\x80\x80"));
    EXPECT_FALSE(isValidUtf8("\xF5\x80\x80\x80"));
    EXPECT_FALSE(isValidUtf8("\xFF"));
}

TEST(Utf8Test, ASequenceCutShortIsInvalid) {
    for (const std::string whole : {"\xC3\xA9", "\xE2\x80\x94", "\xF0\x9F\x8E\xA4"}) {
        EXPECT_TRUE(isValidUtf8(whole));
        for (std::size_t length = 1; length < whole.size(); ++length) {
            EXPECT_FALSE(isValidUtf8(whole.substr(0, length)));
            EXPECT_FALSE(isValidUtf8(whole.substr(0, length) + "a"));
            EXPECT_FALSE(isValidUtf8(whole.substr(length)));
        }
    }
}

TEST(Utf8Test, OneBadByteIsFoundWhereverItStands) {
    for (std::size_t length = 1; length < 150; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::string text(length, 'a');
            EXPECT_EQ(asciiPrefixLength(text), length);
            text[at] = '\x80';
            EXPECT_FALSE(isValidUtf8(text)) << at << " of " << length;
            EXPECT_EQ(asciiPrefixLength(text), at);
        }
    }
}

TEST(Utf8Test, TheFirstAndLastCodePointsAreRead) {
    const std::string text = "\xF0\x9F\x8E\xA4 mid \xE2\x80\x94";
    EXPECT_EQ(firstCodePoint(text).value, 0x1F3A4);
    EXPECT_EQ(firstCodePoint(text).length, 4U);
    EXPECT_EQ(lastCodePoint(text).value, 0x2014);
    EXPECT_EQ(lastCodePoint(text).length, 3U);
    EXPECT_EQ(lastCodePoint("x").value, 'x');
}

TEST(Utf8Test, AMalformedByteIsReadAloneAsTheReplacementCharacter) {
    for (const std::string_view text : {"\x80", "\xE2\x80", "\xC3\xA9\xA9", "a\xFF"}) {
        EXPECT_EQ(lastCodePoint(text).value, replacementCharacter);
        EXPECT_EQ(lastCodePoint(text).length, 1U);
    }
    EXPECT_EQ(firstCodePoint("\xE2\x80").value, replacementCharacter);
    EXPECT_EQ(firstCodePoint("\xE2\x80").length, 1U);
}

TEST(Utf8Test, TheBeginningIsCutBetweenCodePoints) {
    EXPECT_EQ(firstCodePoints("aé—🎤", 3), "aé—");
    EXPECT_EQ(firstCodePoints("aé", 3), "aé");
    EXPECT_EQ(firstCodePoints("\xE2\x80x", 2), "\xE2\x80") << "each stray byte is one";
    EXPECT_EQ(firstCodePoints("a", 0), "");
}

}  // namespace

}  // namespace orvane::test
