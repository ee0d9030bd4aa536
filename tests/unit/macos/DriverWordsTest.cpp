#include "macos/driven/DriverWords.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

std::string withoutEnd(std::string line) {
    EXPECT_EQ(line.back(), '\n');
    line.pop_back();
    return line;
}

}  // namespace

TEST(DriverWordsTest, AMessageIsALineOfWordsWithTabsBetween) {
    EXPECT_EQ(encodeMessage({"row", "0", "Show Log"}), "row\t0\tShow Log\n");
    EXPECT_EQ(decodeMessage("choose\tPhones: 1\t5–6"), (DriverMessage{"choose", "Phones: 1", "5–6"}));
}

TEST(DriverWordsTest, WhatWouldEndAWordOrTheLineIsWrittenOtherwise) {
    EXPECT_EQ(encodeMessage({"a\tb\nc\\d"}), "a\\tb\\nc\\\\d\n");
}

TEST(DriverWordsTest, EveryMessageComesBackAsItWas) {
    for (const DriverMessage& message :
         {DriverMessage{""}, DriverMessage{"", ""}, DriverMessage{"\\n", "\\", "\\\\t", "tail\\"},
          DriverMessage{"\t\n\r", "🎤 שלום", std::string("\0nul", 4)}})
        EXPECT_EQ(decodeMessage(withoutEnd(encodeMessage(message))), message);
}

TEST(DriverWordsTest, AnythingIsReadAsSomething) {
    EXPECT_EQ(decodeMessage(""), DriverMessage{""});
    EXPECT_EQ(decodeMessage("\\x\\"), DriverMessage{"x\\"});
}

TEST(DriverWordsTest, LinesAreTakenWholeHoweverTheyCome) {
    DriverLines lines;
    std::string line;
    lines.append("one\ntw");
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ(line, "one");
    EXPECT_FALSE(lines.next(line));
    lines.append("o\n\n");
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ(line, "two");
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ(line, "");
    EXPECT_FALSE(lines.next(line));
}

}  // namespace orvane::test
