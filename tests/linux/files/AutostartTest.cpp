#include "linux/files/Autostart.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::HasSubstr;

struct AutostartTest : testing::Test {
    QTemporaryDir folder;
    AutostartTest() {
        qputenv("XDG_CONFIG_HOME", folder.filePath("user").toLocal8Bit());
        qputenv("XDG_CONFIG_DIRS", folder.filePath("system").toLocal8Bit());
    }
    ~AutostartTest() override {
        qunsetenv("XDG_CONFIG_HOME");
        qunsetenv("XDG_CONFIG_DIRS");
    }
    void addSystemEntry() {
        QDir(folder.path()).mkpath("system/autostart");
        QFile file(folder.filePath("system/autostart/audio.orvane.Orvane.desktop"));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("[Desktop Entry]\nExec=orvane\n");
    }
    std::string entry() {
        QFile file(QString::fromStdString(Autostart().path()));
        return file.open(QFile::ReadOnly) ? file.readAll().toStdString() : "";
    }
};

TEST_F(AutostartTest, IsOffUntilItIsTurnedOnAndOffAgainAfterwards) {
    const Autostart autostart;
    EXPECT_FALSE(autostart.facts().isOn);
    EXPECT_EQ(autostart.turnOff(), "") << "off already";
    EXPECT_EQ(autostart.turnOn("/usr/bin/orvane"), "");
    EXPECT_TRUE(autostart.facts().isOn);
    EXPECT_THAT(entry(), HasSubstr("\nExec=\"/usr/bin/orvane\"\n"));
    EXPECT_EQ(autostart.turnOff(), "");
    EXPECT_FALSE(autostart.facts().isOn);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(autostart.path())));
}

TEST_F(AutostartTest, AnEntryForAllUsersIsHiddenForThisOne) {
    addSystemEntry();
    const Autostart autostart;
    EXPECT_TRUE(autostart.facts().isOn);
    EXPECT_EQ(autostart.turnOff(), "");
    EXPECT_FALSE(autostart.facts().isOn);
    EXPECT_EQ(autostart.turnOn("/usr/bin/orvane"), "");
    EXPECT_TRUE(autostart.facts().isOn);
}

TEST_F(AutostartTest, SaysWhyTheEntryCannotBeWritten) {
    const std::string user = folder.filePath("user").toStdString();
    ASSERT_TRUE(QFile(folder.filePath("user")).open(QFile::WriteOnly));
    EXPECT_EQ(Autostart().turnOn("/usr/bin/orvane"),
              user + "/autostart cannot be made: " + user + " is no folder");
    EXPECT_FALSE(Autostart().facts().isOn);
}

TEST_F(AutostartTest, SaysWhyTheFolderOfTheEntryCannotBeMade) {
    const QString user = folder.filePath(QString(300, 'x'));
    qputenv("XDG_CONFIG_HOME", user.toLocal8Bit());
    EXPECT_EQ(Autostart().turnOn("/usr/bin/orvane"),
              user.toStdString() + "/autostart cannot be made: File name too long");
}

TEST_F(AutostartTest, SaysWhyTheEntryCannotBeRemoved) {
    const std::string path = Autostart().path();
    QDir().mkpath(QString::fromStdString(path) + "/below");
    EXPECT_EQ(Autostart().turnOff(), path + " cannot be removed: Directory not empty");
}

TEST_F(AutostartTest, APathIsQuotedByTheRulesOfTheKeyAndThenOfTheFile) {
    EXPECT_THAT(autostartEntry("/a b/\"$`\\%/orvane"),
                HasSubstr("Exec=\"/a b/\\\\\"\\\\$\\\\`\\\\\\\\%%/orvane\"\n"));
}

TEST_F(AutostartTest, APathWithALineBreakIsNotBlamedOnTheFolderOfTheEntry) {
    EXPECT_EQ(Autostart().turnOn("/a\nb/orvane"),
              "an entry for autostart cannot name a program whose path has a line break: /a\nb/orvane");
    EXPECT_FALSE(Autostart().facts().isOn);
}

}  // namespace
}  // namespace orvane::test
