#include "text/Marker.h"

#include <gtest/gtest.h>

namespace orvane::test {

TEST(MarkerTest, IsFoundWhereverItStands) {
    constexpr Marker marker("align=on", '=');
    EXPECT_EQ(marker.find("align=on"), 0U);
    EXPECT_EQ(marker.find("= align=off align=on"), 12U);
    EXPECT_EQ(marker.find("xalign=on"), 1U);
}

TEST(MarkerTest, IsNotFoundInParts) {
    constexpr Marker marker("align=on", '=');
    for (const auto* line : {"", "=", "=on", "align=", "align=o", "lign=on", "align =on", "ALIGN=ON"}) {
        EXPECT_FALSE(marker.isIn(line)) << line;
    }
}

TEST(MarkerTest, WhatFollowsTheFirstOneIsGiven) {
    constexpr Marker marker("code: ", ':');
    EXPECT_EQ(marker.textAfter("the code: 1 code: 2"), "1 code: 2");
    EXPECT_EQ(marker.textAfter("the code: "), "");
    EXPECT_EQ(marker.textAfter("the code:"), std::nullopt);
}

TEST(MarkerTest, ItsRareCharacterMayOccurTwice) {
    constexpr Marker marker("a-b-c", '-');
    EXPECT_EQ(marker.find("-a-b-a-b-c"), 5U);
}

}  // namespace orvane::test
