#include "bluetooth/BtState.h"

#include <gtest/gtest.h>

namespace orvane::test {

TEST(BluetoothStateTest, HasATitleForEveryState) {
    EXPECT_EQ(BtState::searching("Pixel").menuTitle(), "Bluetooth: looking for Pixel\u2026");
    EXPECT_EQ(BtState::testing("Pixel").menuTitle(), "Bluetooth: testing the link to Pixel\u2026");
    EXPECT_EQ(BtState::live("Pixel").menuTitle(), "Bluetooth: streaming from Pixel");
    EXPECT_EQ(BtState::failed("it broke").menuTitle(), "Bluetooth: it broke");
    EXPECT_EQ(BtState::off.menuTitle(), "Bluetooth: off");
    EXPECT_EQ(BtState::noDevice.menuTitle(), "Bluetooth: choose a phone\u2026");
}

TEST(BluetoothStateTest, IsEqualOnlyWithTheSameKindAndTheSameText) {
    EXPECT_EQ(BtState::live("Pixel"), BtState::live("Pixel"));
    EXPECT_NE(BtState::live("Pixel"), BtState::live("pixel"));
    EXPECT_NE(BtState::live("Pixel"), BtState::testing("Pixel"));
    EXPECT_EQ(BtState::off, BtState::off);
    EXPECT_NE(BtState::off, BtState::noDevice);
}

TEST(BluetoothStateTest, TakesTwoSpellingsOfOneNameAsEqual) {
    EXPECT_EQ(BtState::live("Andr\u00E9"), BtState::live("Andre\u0301"));
}

}  // namespace orvane::test
