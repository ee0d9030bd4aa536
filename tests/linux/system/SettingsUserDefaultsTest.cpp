#include "linux/system/SettingsUserDefaults.h"

#include <QTemporaryDir>
#include <filesystem>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

class SettingsUserDefaultsTest : public testing::Test {
  protected:
    QTemporaryDir folder;

    SettingsUserDefaultsTest() {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    }
};

TEST_F(SettingsUserDefaultsTest, AValueIsThereForTheNextRunAtOnce) {
    SettingsUserDefaults first;
    EXPECT_EQ(first.string("btDevice"), std::nullopt);
    first.setString("aa-bb-cc-dd-ee-ff", "btDevice");
    EXPECT_EQ(SettingsUserDefaults().string("btDevice"), "aa-bb-cc-dd-ee-ff");
    EXPECT_TRUE(std::filesystem::exists(folder.path().toStdString() + "/Orvane/Orvane.conf"));
}

TEST_F(SettingsUserDefaultsTest, NoValueRemovesTheKeyAndAnEmptyOneDoesNot) {
    SettingsUserDefaults defaults;
    defaults.setString("", "btDevice");
    EXPECT_EQ(SettingsUserDefaults().string("btDevice"), "");
    defaults.setString(std::nullopt, "btDevice");
    EXPECT_EQ(SettingsUserDefaults().string("btDevice"), std::nullopt);
}

TEST_F(SettingsUserDefaultsTest, AnyTextIsKeptAsItIs) {
    const std::string text = "@Küche; \"a\", %41 = \\x\n日本";
    SettingsUserDefaults().setString(text, "btDevice");
    EXPECT_EQ(SettingsUserDefaults().string("btDevice"), text);
}

}  // namespace

}  // namespace orvane::test
