#include "support/BorderedPage.h"
#include "support/TextReference.h"
#include "text/Lines.h"

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

std::vector<std::string> split(std::string_view text) {
    std::vector<std::string> lines;
    forEachLine(text, [&](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

TEST(LinesTest, ALineEndsAtEveryNewlineCharacter) {
    for (const char* newline : {"\n", "\v", "\f", "\r", "\r\n", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
        EXPECT_THAT(split(std::string("one") + newline + "two"), ElementsAre("one", "two"));
        const std::string longLine(100, 'x');
        EXPECT_THAT(split(longLine + newline + longLine + newline), ElementsAre(longLine, longLine));
    }
}

TEST(LinesTest, EmptyLinesAreDropped) {
    EXPECT_THAT(split(""), IsEmpty());
    EXPECT_THAT(split("\n\r\n\r\r\xC2\x85\xE2\x80\xA8\n"), IsEmpty());
    EXPECT_THAT(split("\n\none\r\n\r\n\vtwo\xE2\x80\xA9\xE2\x80\xA9"), ElementsAre("one", "two"));
}

TEST(LinesTest, LinesAreNotTrimmed) {
    EXPECT_THAT(split("  one\t\n \n\ttwo "), ElementsAre("  one\t", " ", "\ttwo "));
}

TEST(LinesTest, CharactersThatShareBytesWithNewlinesStay) {
    // U+00A0, U+0105, U+2014, U+2027, U+202A, U+3028, and a NUL.
    const std::string text = "\u00A0 \u0105 \u2014 \u2027 \u202A \u3028 \0 end"s;
    EXPECT_THAT(split(text), ElementsAre(text));
}

TEST(LinesTest, OtherControlCharactersAreNoNewlines) {
    const std::string text = "a\x08\x09\x0E\x1C\x1D\x1E\x1F\x7F z";
    EXPECT_THAT(split(text), ElementsAre(text));
}

TEST(LinesTest, NothingIsReadBeyondTheText) {
    BorderedPage page;
    for (std::size_t length = 0; length < 70; ++length) {
        const std::string text(length, 'a');
        EXPECT_EQ(split(page.atFront(text)).size(), length == 0 ? 0U : 1U);
        EXPECT_EQ(split(page.atEnd(text)).size(), length == 0 ? 0U : 1U);
        EXPECT_EQ(split(page.atEnd(text + "\f")).size(), length == 0 ? 0U : 1U);
    }
}

TEST(LinesTest, ANewlineIsFoundWhereverItStands) {
    for (const char* newline : {"\n", "\f", "\xC2\x85", "\xE2\x80\xA9"}) {
        for (std::size_t length = 1; length < 70; ++length) {
            for (std::size_t at = 1; at < length; ++at) {
                const std::string text = std::string(at, 'a') + newline + std::string(length - at, 'b');
                EXPECT_THAT(split(text), ElementsAre(std::string(at, 'a'), std::string(length - at, 'b')));
            }
        }
    }
}

TEST(LinesTest, TheLinesAreViewsIntoTheText) {
    const std::string text = "one\ntwo";
    forEachLine(text, [&](std::string_view line) {
        EXPECT_GE(line.data(), text.data());
        EXPECT_LE(line.data() + line.size(), text.data() + text.size());
    });
}

TEST(LinesTest, AnyTextIsSplitAsCodePointByCodePoint) {
    const std::vector<std::string> alphabet = {"\n",
                                               "\r",
                                               "\v",
                                               "\f",
                                               "\xC2\x85",
                                               "\xE2\x80\xA8",
                                               "\xE2\x80\xA9",
                                               "\xE2\x80\x94",
                                               "\xC2\xA0",
                                               "a",
                                               "\t",
                                               "session:\t12",
                                               "0123456789abcdefghijklmnopqrstuvwxyz"};
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (auto pieces = random() % 30; pieces > 0; --pieces)
            text += alphabet[random() % alphabet.size()];
        ASSERT_EQ(split(text), linesOf(text)) << testing::PrintToString(text);
    }
}

}  // namespace

}  // namespace orvane::test
