#include "model/LoopbackDevice.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

LoopbackDevice exampleDevice() {
    return {"LoopbackUID_16ch", "Loopback 16ch", 16, true, 1};
}

LoopbackDevice withChannels(std::int64_t outChannels) {
    LoopbackDevice device = exampleDevice();
    device.outChannels = outChannels;
    return device;
}

TEST(LoopbackDeviceTest, ALineGivesAllItsFields) {
    const auto device = LoopbackDevice::parse("device:\t1\t16\t3\tLoopbackUID_16ch\tLoopback 16ch");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->uid, "LoopbackUID_16ch");
    EXPECT_EQ(device->name, "Loopback 16ch");
    EXPECT_EQ(device->outChannels, 16);
    EXPECT_TRUE(device->isActive);
    EXPECT_EQ(device->firstChannel, 3);
    EXPECT_EQ(device->stereoPairs(), 8);
}

TEST(LoopbackDeviceTest, FiveFieldsFailAndATrailingTabMakesAnEmptyName) {
    EXPECT_FALSE(LoopbackDevice::parse("device:\t1\t16\t1\tuid"));
    const auto device = LoopbackDevice::parse("device:\t1\t16\t1\tuid\t");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "");
}

TEST(LoopbackDeviceTest, TheFirstFieldMustBeTheExactPrefix) {
    for (const std::string prefix :
         {"devices:", "device: ", " device:", "Device:", "device", "", "session:"}) {
        EXPECT_FALSE(LoopbackDevice::parse(prefix + "\t1\t16\t1\tuid\tname")) << prefix;
    }
    EXPECT_FALSE(LoopbackDevice::parse("device: 1\t16\t1\tuid\tname\tx"));
    EXPECT_FALSE(LoopbackDevice::parse(""));
    EXPECT_FALSE(LoopbackDevice::parse("\t\t\t\t\t"));
}

TEST(LoopbackDeviceTest, OnlyTheTextOneIsActive) {
    for (const std::string flag : {"true", "yes", "01", " 1", "1 ", "+1", "0", "", "2"}) {
        const auto device = LoopbackDevice::parse("device:\t" + flag + "\t16\t1\tuid\tname");
        ASSERT_TRUE(device) << flag;
        EXPECT_FALSE(device->isActive) << flag;
    }
}

TEST(LoopbackDeviceTest, BothNumbersAreRequired) {
    for (const std::string bad :
         {"", " 16", "16 ", "+", "16.0", "9223372036854775808", "-9223372036854775809"}) {
        EXPECT_FALSE(LoopbackDevice::parse("device:\t1\t" + bad + "\t1\tuid\tname")) << bad;
        EXPECT_FALSE(LoopbackDevice::parse("device:\t1\t16\t" + bad + "\tuid\tname")) << bad;
    }
    const auto device = LoopbackDevice::parse("device:\t1\t-007\t+9223372036854775807\tuid\tname");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->outChannels, -7);
    EXPECT_EQ(device->firstChannel, std::numeric_limits<std::int64_t>::max());
}

TEST(LoopbackDeviceTest, AnEmptyUidIsAccepted) {
    const auto device = LoopbackDevice::parse("device:\t0\t2\t1\t\tname");
    ASSERT_TRUE(device);
    EXPECT_EQ(device->uid, "");
    EXPECT_EQ(device->name, "name");
}

TEST(LoopbackDeviceTest, ANameKeepsItsTabs) {
    EXPECT_EQ(LoopbackDevice::parse("device:\t0\t2\t1\tuid\t\tA\t\tB\t")->name, "\tA\t\tB\t");
}

TEST(LoopbackDeviceTest, ThereIsAlwaysOnePairAndAnOddChannelMakesNone) {
    for (const std::int64_t few : {0, 1, 2, 3})
        EXPECT_EQ(withChannels(few).stereoPairs(), 1) << few;
    EXPECT_EQ(withChannels(4).stereoPairs(), 2);
    EXPECT_EQ(withChannels(5).stereoPairs(), 2);
    EXPECT_EQ(withChannels(16).stereoPairs(), 8);
    EXPECT_EQ(withChannels(17).stereoPairs(), 8);
    EXPECT_EQ(withChannels(-16).stereoPairs(), 1);
    EXPECT_EQ(withChannels(std::numeric_limits<std::int64_t>::min()).stereoPairs(), 1);
}

TEST(LoopbackDeviceTest, EveryFieldTakesPartInEquality) {
    EXPECT_EQ(exampleDevice(), exampleDevice());
    EXPECT_NE(exampleDevice(), (LoopbackDevice{"other", "Loopback 16ch", 16, true, 1}));
    EXPECT_NE(exampleDevice(), (LoopbackDevice{"LoopbackUID_16ch", "other", 16, true, 1}));
    EXPECT_NE(exampleDevice(), (LoopbackDevice{"LoopbackUID_16ch", "Loopback 16ch", 17, true, 1}));
    EXPECT_NE(exampleDevice(), (LoopbackDevice{"LoopbackUID_16ch", "Loopback 16ch", 16, false, 1}));
    EXPECT_NE(exampleDevice(), (LoopbackDevice{"LoopbackUID_16ch", "Loopback 16ch", 16, true, 2}));
}

TEST(LoopbackDeviceTest, TextsThatDifferInCompositionOnlyAreEqual) {
    EXPECT_EQ((LoopbackDevice{"\u00FC", "\u00E9", 2, false, 1}),
              (LoopbackDevice{"u\u0308", "e\u0301", 2, false, 1}));
}

}  // namespace

}  // namespace orvane::test
