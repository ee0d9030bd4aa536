#include "model/SettingsFiles.h"
#include "support/FakeFileManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string folder = "/home/tester/Library/Application Support/Orvane";

TEST(SettingsFilesTest, TheDeviceFileHasThreeLines) {
    EXPECT_EQ(deviceFileText("ExampleDevice_UID", 0, true), "uid=ExampleDevice_UID\nchannel=0\nalign=1\n");
    EXPECT_EQ(deviceFileText("a=b c", -3, false), "uid=a=b c\nchannel=-3\nalign=0\n");
}

TEST(SettingsFilesTest, WithoutAChosenDeviceNothingFollowsTheEqualsSign) {
    EXPECT_EQ(deviceFileText("", 0, true), "uid=\nchannel=0\nalign=1\n");
}

TEST(SettingsFilesTest, TheLinesOfTheChannelsFileAreSortedAsText) {
    EXPECT_EQ(channelsFileText({{7, 1}, {12, 0}}), "12=0\n7=1\n");
    EXPECT_EQ(channelsFileText({{1, 0}, {12, 3}, {4294967295, 7}}), "12=3\n1=0\n4294967295=7\n");
}

TEST(SettingsFilesTest, FilesAreWrittenBelowTheHomeFolder) {
    FakeFileManager files;
    SettingsFiles settings(files);
    settings.writeDevice("uid", 2, false);
    settings.writeChannels({{7, 1}});
    EXPECT_EQ(files.files[folder + "/device"], "uid=uid\nchannel=2\nalign=0\n");
    EXPECT_EQ(files.files[folder + "/channels"], "7=1\n");
}

TEST(SettingsFilesTest, TheFolderIsMadeBeforeEachWrite) {
    FakeFileManager files;
    SettingsFiles settings(files);
    settings.writeDevice("uid", 0, true);
    settings.writeChannels({{7, 1}});
    EXPECT_THAT(files.journal, ElementsAre("mkdir " + folder, "write " + folder + "/device",
                                           "mkdir " + folder, "write " + folder + "/channels"));
}

TEST(SettingsFilesTest, TheHomeFolderIsAskedForEachTime) {
    FakeFileManager files;
    SettingsFiles settings(files);
    files.home = "/elsewhere";
    settings.writeDevice("uid", 0, true);
    EXPECT_TRUE(files.files.contains("/elsewhere/Library/Application Support/Orvane/device"));
}

TEST(SettingsFilesTest, DeletingThePairingCodeTouchesNothingElse) {
    FakeFileManager files;
    files.files = {{folder + "/pairing", "123456"}, {folder + "/device", "uid="}};
    SettingsFiles(files).deletePairing();
    EXPECT_THAT(files.files, ElementsAre(testing::Pair(folder + "/device", "uid=")));
    EXPECT_THAT(files.journal, ElementsAre("remove " + folder + "/pairing"));
}

TEST(SettingsFilesTest, DeletingAPairingCodeThatIsNotThereIsNoError) {
    FakeFileManager files;
    SettingsFiles(files).deletePairing();
    EXPECT_THAT(files.files, IsEmpty());
}

TEST(SettingsFilesTest, AWriteIsTriedThoughTheFolderCouldNotBeMade) {
    FakeFileManager files;
    files.failing = true;
    SettingsFiles settings(files);
    settings.writeDevice("uid", 0, true);
    settings.deletePairing();
    EXPECT_THAT(files.journal, ElementsAre("mkdir " + folder, "write " + folder + "/device",
                                           "remove " + folder + "/pairing"));
}

TEST(SettingsFilesTest, TheFolderIsWhatIsClosedToOthers) {
    FakeFileManager files;
    SettingsFiles(files).closeToOthers();
    EXPECT_THAT(files.closed, ElementsAre(folder));
}

}  // namespace

}  // namespace orvane::test
