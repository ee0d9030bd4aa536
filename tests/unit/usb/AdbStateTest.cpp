#include "usb/AdbState.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

TEST(AdbStateTest, HasAMenuTitleForEveryCase) {
    EXPECT_EQ(AdbState::ready("Pixel 7").menuTitle(), "USB: ready \u2014 Pixel 7");
    EXPECT_EQ(AdbState::yielded("Pixel 7").menuTitle(), "USB: standing aside for Bluetooth \u2014 Pixel 7");
    EXPECT_EQ(AdbState::noAdb.menuTitle(), "USB: Android tools not installed\u2026");
    EXPECT_EQ(AdbState::noDevice.menuTitle(), "USB: no phone connected");
    EXPECT_EQ(AdbState::unauthorized.menuTitle(), "USB: allow USB debugging on the phone");
}

TEST(AdbStateTest, OnlyMissingToolsAreActionable) {
    EXPECT_TRUE(AdbState::noAdb.isActionable());
    EXPECT_FALSE(AdbState::ready("Pixel 7").isActionable());
    EXPECT_FALSE(AdbState::yielded("Pixel 7").isActionable());
    EXPECT_FALSE(AdbState::noDevice.isActionable());
    EXPECT_FALSE(AdbState::unauthorized.isActionable());
}

TEST(AdbStateTest, EqualityNeedsTheSameCaseAndTheSameModel) {
    EXPECT_EQ(AdbState::ready("Pixel 7"), AdbState::ready("Pixel 7"));
    EXPECT_NE(AdbState::ready("Pixel 7"), AdbState::ready("Pixel 8"));
    EXPECT_NE(AdbState::yielded("Pixel 7"), AdbState::yielded("Pixel 8"));
    EXPECT_NE(AdbState::ready("Pixel 7"), AdbState::yielded("Pixel 7"));
    EXPECT_EQ(AdbState::noDevice, AdbState::noDevice);
    EXPECT_NE(AdbState::noDevice, AdbState::unauthorized);
    EXPECT_NE(AdbState::noAdb, AdbState::noDevice);
}

TEST(AdbStateTest, ModelsSpeltInCanonicallyEquivalentWaysAreEqual) {
    EXPECT_EQ(AdbState::ready("T\u00E9l\u00E9phone"), AdbState::ready("Te\u0301le\u0301phone"));
    EXPECT_NE(AdbState::ready("T\u00E9l\u00E9phone"), AdbState::ready("Telephone"));
}

}  // namespace

}  // namespace orvane::test
