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
    EXPECT_TRUE(autostart.turnOff()) << "off already";
    EXPECT_TRUE(autostart.turnOn("/usr/bin/orvane"));
    EXPECT_TRUE(autostart.facts().isOn);
    EXPECT_THAT(entry(), HasSubstr("\nExec=\"/usr/bin/orvane\"\n"));
    EXPECT_TRUE(autostart.turnOff());
    EXPECT_FALSE(autostart.facts().isOn);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(autostart.path())));
}

TEST_F(AutostartTest, AnEntryForAllUsersIsHiddenForThisOne) {
    addSystemEntry();
    const Autostart autostart;
    EXPECT_TRUE(autostart.facts().isOn);
    EXPECT_TRUE(autostart.turnOff());
    EXPECT_FALSE(autostart.facts().isOn);
    EXPECT_TRUE(autostart.turnOn("/usr/bin/orvane"));
    EXPECT_TRUE(autostart.facts().isOn);
}

TEST_F(AutostartTest, SaysWhenTheEntryCannotBeWritten) {
    ASSERT_TRUE(QFile(folder.filePath("user")).open(QFile::WriteOnly));
    EXPECT_FALSE(Autostart().turnOn("/usr/bin/orvane"));
    EXPECT_FALSE(Autostart().facts().isOn);
}

TEST_F(AutostartTest, APathIsQuotedByTheRulesOfTheKeyAndThenOfTheFile) {
    EXPECT_THAT(autostartEntry("/a b/\"$`\\%/orvane"),
                HasSubstr("Exec=\"/a b/\\\\\"\\\\$\\\\`\\\\\\\\%%/orvane\"\n"));
    EXPECT_FALSE(Autostart().turnOn("/a\nb/orvane"));
}

}  // namespace
}  // namespace orvane::test
