#include "linux/desktop/WindowSupply.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct WindowSupplyTest : testing::Test {
    int equipped = 0;
    WindowSupply supply{[](const std::string&) {}, [this] { ++equipped; }};
};

TEST_F(WindowSupplyTest, NothingIsEquippedBeforeAWindowIsWanted) {
    EXPECT_EQ(equipped, 0);
}

TEST_F(WindowSupplyTest, TheFirstWindowIsEquippedBeforeItIsMade) {
    supply.lend();
    EXPECT_EQ(equipped, 1);
    EXPECT_TRUE(supply.allows());
    supply.closed();
    EXPECT_TRUE(supply.allows());
    EXPECT_EQ(equipped, 1) << "once for all of them";
}

TEST_F(WindowSupplyTest, AWindowThatIsOnlyShownIsEquippedToo) {
    EXPECT_TRUE(supply.allows());
    EXPECT_EQ(equipped, 1);
}

}  // namespace

}  // namespace orvane::test
