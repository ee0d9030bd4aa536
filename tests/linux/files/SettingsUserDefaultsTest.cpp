#include "linux/files/PosixFileManager.h"
#include "linux/files/SettingsUserDefaults.h"
#include "support/RecordedApplication.h"

#include <QSettings>
#include <QTemporaryDir>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace orvane::test {

namespace {

class SettingsUserDefaultsTest : public testing::Test {
  protected:
    QTemporaryDir folder;
    const std::string file = folder.path().toStdString() + "/Orvane/Orvane.conf";
    RecordedSystemLog log;
    PosixFileManager files{log};

    SettingsUserDefaultsTest() { ::setenv("XDG_CONFIG_HOME", folder.path().toStdString().c_str(), 1); }
    ~SettingsUserDefaultsTest() override { ::unsetenv("XDG_CONFIG_HOME"); }

    SettingsUserDefaults open() { return SettingsUserDefaults(files); }
    void put(const std::string& text) {
        std::filesystem::create_directories(folder.path().toStdString() + "/Orvane");
        std::ofstream(file) << text;
    }
    std::string contents() const {
        std::ifstream stream(file);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }
};

TEST_F(SettingsUserDefaultsTest, AValueIsThereForTheNextRunAtOnce) {
    SettingsUserDefaults first = open();
    EXPECT_EQ(first.string("btDevice"), std::nullopt);
    first.setString("aa-bb-cc-dd-ee-ff", "btDevice");
    EXPECT_EQ(first.string("btDevice"), "aa-bb-cc-dd-ee-ff");
    EXPECT_EQ(open().string("btDevice"), "aa-bb-cc-dd-ee-ff");
    EXPECT_EQ(contents(), "[General]\nbtDevice=aa-bb-cc-dd-ee-ff\n");
}

TEST_F(SettingsUserDefaultsTest, NoValueRemovesTheKeyAndAnEmptyOneDoesNot) {
    SettingsUserDefaults defaults = open();
    defaults.setString("", "btDevice");
    EXPECT_EQ(open().string("btDevice"), "");
    defaults.setString(std::nullopt, "btDevice");
    EXPECT_EQ(open().string("btDevice"), std::nullopt);
}

TEST_F(SettingsUserDefaultsTest, RemovingWhatIsNotThereWritesNothing) {
    open().setString(std::nullopt, "btDevice");
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(SettingsUserDefaultsTest, AnyTextIsKeptAsItIs) {
    const std::string text = "@Küche; \"a\", %41 = \\x\nf\x01 b[日本]";
    open().setString(text, "btDevice");
    EXPECT_EQ(open().string("btDevice"), text);
    const QSettings reader(QString::fromStdString(file), QSettings::IniFormat);
    EXPECT_EQ(reader.value("btDevice").toString().toStdString(), text);
}

TEST_F(SettingsUserDefaultsTest, WhatQtWroteEarlierIsRead) {
    for (const char* text : {"AA:BB:CC:DD:EE:FF", "", "a b;c, \"d\" \\ é\n1"}) {
        {
            QSettings writer(QString::fromStdString(file), QSettings::IniFormat);
            writer.setValue("btDevice", QString::fromUtf8(text));
        }
        EXPECT_EQ(open().string("btDevice"), text) << contents();
    }
}

TEST_F(SettingsUserDefaultsTest, LinesThatItDoesNotKnowStay) {
    put("[General]\nolder=1\nbtDevice=a\n\n[Other]\nbtDevice=b");
    SettingsUserDefaults defaults = open();
    EXPECT_EQ(defaults.string("btDevice"), "a");
    defaults.setString("c", "btDevice");
    EXPECT_EQ(contents(), "[General]\nbtDevice=c\nolder=1\n\n[Other]\nbtDevice=b\n");
}

TEST_F(SettingsUserDefaultsTest, WhatIsNoFileOfOursIsNoValueAndHoldsNothingUp) {
    put("\xff\xfe broken");
    EXPECT_EQ(open().string("btDevice"), std::nullopt);
    put("btDevice=outside of any group");
    EXPECT_EQ(open().string("btDevice"), std::nullopt);
    std::filesystem::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);  // Reading it would wait for a writer.
    EXPECT_EQ(open().string("btDevice"), std::nullopt);
}

TEST_F(SettingsUserDefaultsTest, AStrangersLockFileHoldsNothingUp) {
    put("");
    std::ofstream(file + ".lock") << "";
    const auto begin = std::chrono::steady_clock::now();
    open().setString("a", "btDevice");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(open().string("btDevice"), "a");
}

TEST_F(SettingsUserDefaultsTest, AValueThatCannotBeWrittenIsKnownUntilTheEndAndTold) {
    std::ofstream(folder.path().toStdString() + "/Orvane") << "in the way";
    SettingsUserDefaults defaults = open();
    defaults.setString("a", "btDevice");
    EXPECT_EQ(defaults.string("btDevice"), "a");
    EXPECT_EQ(open().string("btDevice"), std::nullopt);
    EXPECT_THAT(log.lines, testing::ElementsAre(testing::HasSubstr("Orvane could not be made: "),
                                                testing::HasSubstr("could not be written: ")));
}

}  // namespace

}  // namespace orvane::test
