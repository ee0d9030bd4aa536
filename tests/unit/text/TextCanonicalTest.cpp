#include "text/Canonical.h"

#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

TEST(CanonicalTest, ComposedAndDecomposedAccentsAreEqual) {
    EXPECT_TRUE(canonicallyEqual("caf\u00E9", "cafe\u0301"));
    EXPECT_TRUE(canonicallyEqual("\uAC01", "\u1100\u1161\u11A8"));
    EXPECT_TRUE(canonicallyEqual("\u212B", "\u00C5"));
    EXPECT_TRUE(canonicallyEqual("K", "\u212A"));
    EXPECT_TRUE(canonicallyEqual("\u037E", ";"));
}

TEST(CanonicalTest, TheOrderOfAccentsOnDifferentSidesDoesNotMatter) {
    EXPECT_TRUE(canonicallyEqual("a\u0323\u0307", "a\u0307\u0323"));
    EXPECT_FALSE(canonicallyEqual("a\u0301\u0308", "a\u0308\u0301"));
}

TEST(CanonicalTest, DifferentTextsAreUnequal) {
    EXPECT_FALSE(canonicallyEqual("cafe", "caf\u00E9"));
    EXPECT_FALSE(canonicallyEqual("a", "A"));
    EXPECT_FALSE(canonicallyEqual("a", "a "));
    EXPECT_FALSE(canonicallyEqual("", "a"));
    EXPECT_TRUE(canonicallyEqual("", ""));
}

TEST(CanonicalTest, CharactersThatOnlyLookAlikeAreUnequal) {
    EXPECT_FALSE(canonicallyEqual("\uFB01", "fi"));
    EXPECT_FALSE(canonicallyEqual("\u00A0", " "));
}

TEST(CanonicalTest, LongRunsOfMarksAreOrderedByClassAndKeepTheOrderWithinOne) {
    // Classes 230, 220 and 1, far apart; marks of one class must not change places.
    EXPECT_TRUE(canonicallyEqual("a\u0301\u0323\u0334\u0308", "a\u0334\u0323\u0301\u0308"));
    EXPECT_FALSE(canonicallyEqual("a\u0301\u0323\u0334\u0308", "a\u0334\u0323\u0308\u0301"));
    EXPECT_FALSE(canonicallyEqual("a\u0301b\u0323", "a\u0323b\u0301"));
}

TEST(CanonicalTest, TextBehindANulCounts) {
    EXPECT_FALSE(canonicallyEqual(std::string_view("a\0b", 3), std::string_view("a\0c", 3)));
    EXPECT_TRUE(canonicallyEqual(std::string_view("\0\u00E9", 3), std::string_view("\0e\u0301", 4)));
}

TEST(CanonicalTest, BytesThatAreNoTextAreComparedAsBytes) {
    EXPECT_TRUE(canonicallyEqual("\xFF", "\xFF"));
    EXPECT_FALSE(canonicallyEqual("\xFF", "\xFE"));
    EXPECT_FALSE(canonicallyEqual("\xFF", "\uFFFD"));
    EXPECT_FALSE(canonicallyEqual("\uFFFD", "\xFF"));
    EXPECT_FALSE(canonicallyEqual("\u00E9\xFF", "e\u0301\xFF"));
}

}  // namespace

}  // namespace orvane::test
