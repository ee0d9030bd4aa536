#include "linux/system/LinuxRemedies.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::HasSubstr;

TEST(LinuxRemediesTest, EachDistributionGetsItsOwnCommand) {
    EXPECT_EQ(remediesFor("ID=debian\n").installAdb, "sudo apt install adb");
    EXPECT_EQ(remediesFor("NAME=\"Linux Mint\"\nID=linuxmint\nID_LIKE=\"ubuntu debian\"\n").installAdb,
              "sudo apt install adb");
    EXPECT_EQ(remediesFor("ID=fedora\n").installAdb, "sudo dnf install android-tools");
    EXPECT_EQ(remediesFor("ID=\"rocky\"\nID_LIKE=\"rhel centos fedora\"\n").installAdb,
              "sudo dnf install android-tools");
    EXPECT_EQ(remediesFor("ID=manjaro\nID_LIKE=arch\n").installAdb, "sudo pacman -S android-tools");
    EXPECT_EQ(remediesFor("ID=\"opensuse-tumbleweed\"\n").installAdb, "sudo zypper install android-tools");
}

TEST(LinuxRemediesTest, AnUnknownDistributionGetsWords) {
    EXPECT_THAT(remediesFor("ID=plan9\n").installAdb, HasSubstr("adb"));
    EXPECT_EQ(remediesFor("ID=plan9\n").switchBluetoothOn, "bluetoothctl power on");
    EXPECT_EQ(remediesFor("").system, "Linux");
}

TEST(LinuxRemediesTest, TheSystemIsCalledByItsName) {
    EXPECT_EQ(remediesFor("ID=debian\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n").system,
              "Debian GNU/Linux 12 (bookworm)");
    EXPECT_EQ(remediesFor("PRETTY_NAME='Some Linux'\n").system, "Some Linux");
}

TEST(LinuxRemediesTest, TheUsbNoteOfDebianNamesTheGroup) {
    EXPECT_THAT(remediesFor("ID=debian\n").allowPhones, HasSubstr("usermod -aG plugdev"));
}

}  // namespace
}  // namespace orvane::test
