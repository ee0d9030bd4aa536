#include "support/TextReference.h"
#include "text/Characters.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

std::size_t countWhole(std::string_view text) {
    return CharacterCounter().count(text);
}

TEST(CharactersTest, EachAsciiCharacterIsOne) {
    EXPECT_EQ(countWhole(""), 0U);
    EXPECT_EQ(countWhole("session:\t1"), 10U);
    EXPECT_EQ(countWhole(std::string_view("\0\x1B\x7F", 3)), 3U);
}

TEST(CharactersTest, CrLfIsOneButLfCrIsTwo) {
    EXPECT_EQ(countWhole("\r\n"), 1U);
    EXPECT_EQ(countWhole("\n\r"), 2U);
    EXPECT_EQ(countWhole("\r\r\n\n"), 3U);
    EXPECT_EQ(countWhole("one\r\ntwo\r\n"), 8U);
}

TEST(CharactersTest, WhatPeopleSeeAsOneIsOne) {
    EXPECT_EQ(countWhole("e\u0301"), 1U);
    EXPECT_EQ(countWhole("e\u0300"), 1U);                                     // the first of the marks
    EXPECT_EQ(countWhole("\u1112\u1161\u11AB"), 1U);                          // Hangul from its letters
    EXPECT_EQ(countWhole("\U0001F468\u200D\U0001F469\u200D\U0001F467"), 1U);  // a family
    EXPECT_EQ(countWhole("\U0001F44D\U0001F3FD"), 1U);                        // a skin tone
    EXPECT_EQ(countWhole("1\uFE0F\u20E3"), 1U);                               // a keycap
    EXPECT_EQ(countWhole("\u0928\u093F"), 1U);                                // Devanagari with a vowel sign
    EXPECT_EQ(countWhole("\u06001"), 1U);  // a sign that joins what follows
}

TEST(CharactersTest, RegionalIndicatorsPairUpFromTheFirst) {
    const std::string letter = "\U0001F1E9";
    EXPECT_EQ(countWhole(letter), 1U);
    EXPECT_EQ(countWhole(letter + letter), 1U);
    EXPECT_EQ(countWhole(letter + letter + letter), 2U);
    EXPECT_EQ(countWhole(letter + letter + letter + letter), 2U);
    EXPECT_EQ(countWhole(letter + "a" + letter + letter), 3U);
}

TEST(CharactersTest, APieceThatContinuesTheLastCharacterAddsNone) {
    const std::pair<const char*, const char*> continued[] = {
        {"a\r", "\n"},
        {"e", "\u0301"},
        {"\U0001F468", "\u200D"},
        {"\U0001F468\u200D", "\U0001F469"},
        {"\U0001F1E9", "\U0001F1EA"},
        {"\u1112", "\u1161"},
        {"\u0600", "1"},
    };
    for (const auto& [before, after] : continued) {
        CharacterCounter counter;
        counter.count(before);
        EXPECT_EQ(counter.count(after), 0U) << before << after;
        EXPECT_EQ(counter.count("x"), 1U);
    }
}

TEST(CharactersTest, AnEmptyPieceChangesNothing) {
    CharacterCounter counter;
    EXPECT_EQ(counter.count("\r"), 1U);
    EXPECT_EQ(counter.count(""), 0U);
    EXPECT_EQ(counter.count("\n"), 0U);
}

TEST(CharactersTest, EachMalformedByteIsOneCharacter) {
    EXPECT_EQ(countWhole("a\xFF\x80\xE2\x80z"), 6U);
}

void expectTheSameBreak(utf8proc_int32_t before, utf8proc_int32_t after) {
    CharacterCounter counter;
    counter.begins(before);
    utf8proc_int32_t state = 0;
    ASSERT_EQ(counter.begins(after), utf8proc_grapheme_break_stateful(before, after, &state))
        << std::hex << before << " " << after;
}

TEST(CharactersTest, OfThoseThatStandAloneOnlyCrLfIsOneCharacter) {
    for (utf8proc_int32_t before = 0; before < 0x3000; ++before) {
        for (const utf8proc_int32_t after : {0x0A, 0x0D, 0x61, 0x2026, 0x2764, before}) {
            expectTheSameBreak(before, after);
            expectTheSameBreak(after, before);
        }
    }
}

TEST(CharactersTest, WhatStandsAloneIsNoMark) {
    int alone = 0;
    for (utf8proc_int32_t codePoint = 0; codePoint < 0x110000; ++codePoint) {
        const auto category = utf8proc_category(codePoint);
        const bool isMark = category >= UTF8PROC_CATEGORY_MN && category <= UTF8PROC_CATEGORY_ME;
        EXPECT_FALSE(isMark && standsAlone(codePoint)) << std::hex << codePoint;
        alone += standsAlone(codePoint);
    }
    EXPECT_EQ(alone, 0x300 + 0xC0 + 0xB00);
}

TEST(CharactersTest, PiecesOfAnyTextCountAsTheWhole) {
    const std::vector<std::string> alphabet = {
        "a",          "plain ASCII text, longer than a block of bytes\r\n",
        "\r",         "\n",
        "\u0301",     "\u200D",
        "\u00E9",     "\U0001F1E9",
        "\U0001F468", "\U0001F3FD",
        "\u1112",     "\u1161",
        "\u11AB",     "\u0600",
        "\u2764",     "\u0928",
        "\u093F"};
    std::mt19937 random(2);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        CharacterCounter counter;
        std::size_t sum = 0;
        for (auto pieces = random() % 40; pieces > 0; --pieces) {
            std::string piece;
            for (auto parts = random() % 4; parts > 0; --parts)
                piece += alphabet[random() % alphabet.size()];
            sum += counter.count(piece);
            text += piece;
        }
        const std::vector<std::string_view> characters = charactersOf(text);
        ASSERT_EQ(sum, characters.size()) << text;
        ASSERT_EQ(countWhole(text), characters.size()) << text;
        std::size_t length = 0;
        for (std::size_t i = 0; i < characters.size(); ++i) {
            ASSERT_EQ(prefixLength(text, i), length) << i << " of " << text;
            length += characters[i].size();
        }
        ASSERT_EQ(prefixLength(text, characters.size()), text.size());
        ASSERT_EQ(prefixLength(text, characters.size() + 1), text.size());
    }
}

}  // namespace

}  // namespace orvane::test
