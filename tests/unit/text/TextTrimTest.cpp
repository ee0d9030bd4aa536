#include "text/Trim.h"

#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

/// Every character of general category Zs: U+0020, U+00A0, U+1680, U+2000 to U+200A, U+202F, U+205F, U+3000.
const std::string spaces =
    " \u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A\u202F\u205F\u3000";

TEST(TrimTest, HorizontalSpaceIsTabsAndEverySpaceSeparator) {
    EXPECT_EQ(trimHorizontalSpace("\t" + spaces + "a b" + spaces + "\t"), "a b");
    EXPECT_EQ(trimHorizontalSpace(spaces), "");
    EXPECT_EQ(trimHorizontalSpace(""), "");
    EXPECT_EQ(trimHorizontalSpace("plain"), "plain");
}

TEST(TrimTest, HorizontalSpaceLeavesLineBreaksAndInvisibleCharacters) {
    for (const std::string kept :
         {"\n", "\r", "\v", "\f", "\u0085", "\u2028", "\u2029", "\u200B", "\uFEFF"}) {
        EXPECT_EQ(trimHorizontalSpace(" " + kept + "a" + kept + " "), kept + "a" + kept);
    }
}

TEST(TrimTest, SpacesAndTabsAreJustTheseTwo) {
    EXPECT_EQ(trimSpacesAndTabs(" \t a \t b\t "), "a \t b");
    EXPECT_EQ(trimSpacesAndTabs("\u00A0a\n"), "\u00A0a\n");
    EXPECT_EQ(trimSpacesAndTabs("\t "), "");
}

TEST(TrimTest, WhitespaceAndNewlinesTakeBoth) {
    const std::string newlines = "\t\n\v\f\r\u0085\u2028\u2029";
    EXPECT_EQ(trimWhitespaceAndNewlines(newlines + spaces + "Pixel 7\n(x)" + spaces + newlines),
              "Pixel 7\n(x)");
    EXPECT_EQ(trimWhitespaceAndNewlines(newlines + spaces), "");
    EXPECT_EQ(trimWhitespaceAndNewlines("\u200Ba\u200B"), "\u200Ba\u200B");
    EXPECT_EQ(trimWhitespaceAndNewlines("\ba\x0E"), "\ba\x0E") << "beside tab and carriage return";
}

TEST(TrimTest, CharactersBesideTheTrimmedOnesAreKeptWhole) {
    EXPECT_EQ(trimHorizontalSpace(" \u00E9 \u2014 \U0001F3A4 "), "\u00E9 \u2014 \U0001F3A4");
    EXPECT_EQ(trimHorizontalSpace(" \x80 "), "\x80");
}

}  // namespace

}  // namespace orvane::test
