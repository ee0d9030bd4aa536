// The audio device row, its submenu, the volume warning, and the commands in them.
#include "menu/DeviceMenu.h"
#include "model/DeviceVolume.h"
#include "unit/app/AppDelegateFixture.h"

namespace orvane::test {

using testing::ElementsAre;
using testing::EndsWith;

class DeviceMenuTest : public AppDelegateTest {
  protected:
    const std::string deviceFile = "/home/tester/Library/Application Support/Orvane/device";

    void SetUp() override { launch(); }
    MenuItem& choice(std::size_t index) const { return *deviceRow().submenu()->items().at(index); }
};

TEST_F(DeviceMenuTest, NoDeviceLeadsToTheDriver) {
    serverPrints("devices: 0\n");
    EXPECT_EQ(deviceRow().title(), "⚠ No audio device — Install BlackHole…");
    EXPECT_EQ(deviceRow().action(), MenuAction::installBlackHole);
    EXPECT_EQ(deviceRow().submenu(), nullptr);
    EXPECT_TRUE(deviceRow().isShownEnabled());
    EXPECT_TRUE(volumeRow().isHidden());
    EXPECT_EQ(launches(), 1U) << "nothing is restarted for it";
}

TEST_F(DeviceMenuTest, ADeviceTakesTheDriversRowBack) {
    serverPrints("devices: 0\n");
    serverListsDevices({device(true, 16, "a", "BlackHole 16ch")});
    EXPECT_EQ(deviceRow().title(), "Audio device: BlackHole 16ch  ·  8 phone slots");
    EXPECT_EQ(deviceRow().action(), MenuAction::none);
    EXPECT_EQ(launches(), 1U);
}

TEST_F(DeviceMenuTest, TheFirstActiveDeviceIsShownAndEveryActiveOneMarked) {
    serverListsDevices({device(false, 2, "a", "A"), device(true, 2, "b", "B"), device(true, 2, "c", "C")});
    EXPECT_EQ(deviceRow().title(), "Audio device: B");
    EXPECT_THAT(titles(*deviceRow().submenu()), ElementsAre("A", "B", "C", "-", "Install BlackHole…"));
    EXPECT_EQ(choice(0).checkState(), CheckState::off);
    EXPECT_EQ(choice(1).checkState(), CheckState::on);
    EXPECT_EQ(choice(2).checkState(), CheckState::on);
    EXPECT_EQ(choice(1).action(), MenuAction::pickDevice);
    EXPECT_EQ(choice(1).representedObject(), RepresentedObject(DeviceChoice{"b", 0}));
    EXPECT_EQ(choice(4).action(), MenuAction::installBlackHole);
}

TEST_F(DeviceMenuTest, WithNoneActiveTheFirstIsShownButNotAdopted) {
    serverListsDevices({device(false, 2, "a", "A"), device(false, 2, "b", "B")});
    EXPECT_EQ(deviceRow().title(), "Audio device: A");
    EXPECT_EQ(delegate->chosenUid(), "");
}

TEST_F(DeviceMenuTest, AnActiveDeviceIsAdoptedInMemoryOnly) {
    serverPrints("devices: 1\ndevice:\t1\t16\t5\tb\tB\n");
    EXPECT_EQ(delegate->chosenUid(), "b");
    EXPECT_EQ(delegate->chosenChannel(), 5);
    EXPECT_TRUE(system.fileManager.journal.empty());
    EXPECT_EQ(launches(), 1U);
    delegate->toggleAlign();
    EXPECT_EQ(system.fileManager.files.at(deviceFile), "uid=b\nchannel=5\nalign=0\n");
}

TEST_F(DeviceMenuTest, AChosenDeviceIsNotReplacedByTheActiveOne) {
    serverListsDevices({device(true, 16, "a", "A"), device(false, 16, "b", "B")});
    deviceRow().submenu()->choose(choice(1));
    serverListsDevices({device(true, 2, "c", "C")});
    EXPECT_EQ(delegate->chosenUid(), "b");
}

TEST_F(DeviceMenuTest, SlotsAreToldFromTwoPairsOn) {
    const auto titleOf = [](std::int64_t channels) { return deviceTitle({"u", "N", channels, true, 1}); };
    EXPECT_EQ(titleOf(0), "Audio device: N");
    EXPECT_EQ(titleOf(3), "Audio device: N");
    EXPECT_EQ(titleOf(4), "Audio device: N  ·  2 phone slots");
    EXPECT_EQ(titleOf(17), "Audio device: N  ·  8 phone slots");
}

TEST_F(DeviceMenuTest, SignatureNamesUidActivityAndChannels) {
    serverListsDevices({device(true, 16, "a", "A"), device(false, 2, "b", "B")});
    EXPECT_EQ(deviceSignature(delegate->devices()), "a:true:16|b:false:2");
}

TEST_F(DeviceMenuTest, ChoosingADeviceWritesLogsAndRestarts) {
    serverPrints("devices: 2\ndevice:\t1\t16\t5\ta\tA\ndevice:\t0\t16\t1\tb\tB\n");
    deviceRow().submenu()->choose(choice(1));
    EXPECT_EQ(system.fileManager.files.at(deviceFile), "uid=b\nchannel=0\nalign=1\n");
    EXPECT_THAT(
        log(),
        EndsWith("\n— audio device set to b, first phone on channels 1–2 —\n\n— restarting server —\n"));
    EXPECT_EQ(launches(), 2U);
}

TEST_F(DeviceMenuTest, ChoosingTheChosenDeviceDoesAllOfItAgain) {
    serverListsDevices({device(true, 16, "a", "A")});
    deviceRow().submenu()->choose(choice(0));
    system.fileManager.files.clear();
    const auto before = log();
    deviceRow().submenu()->choose(choice(0));
    EXPECT_EQ(log(),
              before + "\n— audio device set to a, first phone on channels 1–2 —\n\n— restarting server —\n");
    EXPECT_EQ(system.fileManager.files.at(deviceFile), "uid=a\nchannel=0\nalign=1\n");
    EXPECT_EQ(launches(), 3U);
}

TEST_F(DeviceMenuTest, ARowThatStandsForSomethingElseChoosesNoDevice) {
    MenuItem item("A", MenuAction::pickDevice);
    delegate->pickDevice(item);
    item.setRepresentedObject(std::string("a"));
    delegate->pickDevice(item);
    EXPECT_EQ(launches(), 1U);
    EXPECT_TRUE(system.fileManager.journal.empty());
}

TEST_F(DeviceMenuTest, VolumeIsTheLowerOfBothSides) {
    auto& hardware = system.audioHardware;
    hardware.all = {{"both", 0.75F, 0.5F},
                    {"same", 0.5F, 0.75F},
                    {"out", 0.75F, {}},
                    {"in", {}, 0.25F},
                    {"none", {}, {}}};
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "both"), 0.5F);
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "same"), 0.5F);
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "out"), 0.75F);
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "in"), 0.25F);
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "none"), std::nullopt);
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "unknown"), std::nullopt);
}

TEST_F(DeviceMenuTest, AVolumeThatCannotBeReadIsNoVolume) {
    auto& hardware = system.audioHardware;
    hardware.all = {{"a", 0.5F, 0.5F, {VolumeScope::output, VolumeScope::input}}};
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "a"), std::nullopt);
    hardware.listable = false;
    EXPECT_EQ(DeviceVolume::device(hardware, "a"), std::nullopt);
}

TEST_F(DeviceMenuTest, ADeviceWithoutAReadableUidCountsAsHavingAnEmptyOne) {
    auto& hardware = system.audioHardware;
    hardware.all = {{"a", 1.0F, {}}, {{}, 0.5F, {}}, {"", 0.25F, {}}};
    EXPECT_EQ(DeviceVolume::device(hardware, ""), FakeAudioHardware::idOf(1));
    EXPECT_EQ(DeviceVolume::device(hardware, "a"), FakeAudioHardware::idOf(0));
}

TEST_F(DeviceMenuTest, ADeviceIsFoundByAnotherSpellingOfItsUid) {
    system.audioHardware.all = {{"Gera\u0308t", 0.5F, {}}};
    EXPECT_EQ(DeviceVolume::device(system.audioHardware, "Ger\u00E4t"), FakeAudioHardware::idOf(0));
}

TEST_F(DeviceMenuTest, UnitySetsBothSidesAndNeedsOneToSucceed) {
    auto& hardware = system.audioHardware;
    hardware.all = {{"both", 0.5F, 0.25F},
                    {"out", 0.5F, {}},
                    {"none", {}, {}},
                    {"fixed", 0.5F, 0.5F, {}, {VolumeScope::output, VolumeScope::input}}};
    EXPECT_TRUE(DeviceVolume::setUnity(hardware, "both"));
    EXPECT_EQ(hardware.all[0].output, 1.0F);
    EXPECT_EQ(hardware.all[0].input, 1.0F);
    EXPECT_TRUE(DeviceVolume::setUnity(hardware, "out"));
    EXPECT_EQ(hardware.all[1].input, std::nullopt);
    EXPECT_FALSE(DeviceVolume::setUnity(hardware, "none"));
    EXPECT_FALSE(DeviceVolume::setUnity(hardware, "fixed"));
    EXPECT_FALSE(DeviceVolume::setUnity(hardware, "unknown"));
}

TEST_F(DeviceMenuTest, WarningStandsBelowNinetyNinePercentOnly) {
    system.audioHardware.all = {{"a", 0.5F, {}}};
    serverListsDevices({device(true, 16, "a", "BlackHole 16ch")});
    EXPECT_FALSE(volumeRow().isHidden());
    EXPECT_EQ(volumeRow().title(), "⚠ BlackHole 16ch volume is 50% — click to set 100%");
    EXPECT_EQ(volumeRow().representedObject(), RepresentedObject(DeviceChoice{"a", 0}));
    system.audioHardware.all = {{"a", 0.99F, {}}};
    delegate->refreshVolumeWarning("a", "BlackHole 16ch");
    EXPECT_TRUE(volumeRow().isHidden()) << "exactly 0.99 is full";
    system.audioHardware.all = {{"a", 0.9899F, {}}};
    delegate->refreshVolumeWarning("a", "BlackHole 16ch");
    EXPECT_EQ(volumeRow().title(), "⚠ BlackHole 16ch volume is 99% — click to set 100%");
    system.audioHardware.all = {{"a", {}, {}}};
    delegate->refreshVolumeWarning("a", "BlackHole 16ch");
    EXPECT_TRUE(volumeRow().isHidden()) << "a device without a control never warns";
}

TEST_F(DeviceMenuTest, ManyListsInOneTextAskForTheVolumeOnce) {
    const std::string list = "devices: 1\ndevice:\t1\t16\t1\ta\tA\n";
    serverPrints(list);
    system.audioHardware.all = {{"a", 0.5F, {}}};
    const auto before = system.audioHardware.listings;
    serverPrints(list + list + list);
    EXPECT_EQ(system.audioHardware.listings, before + 1);
    EXPECT_EQ(volumeRow().title(), "⚠ A volume is 50% — click to set 100%");
    serverPrints("talk\n");
    EXPECT_EQ(system.audioHardware.listings, before + 1) << "a text without a list asks for nothing";
    serverPrints(list);
    EXPECT_EQ(system.audioHardware.listings, before + 2) << "every report has the volume looked at again";
}

TEST_F(DeviceMenuTest, TheLastListInATextDecidesOnTheWarning) {
    system.audioHardware.all = {{"a", 0.5F, {}}, {"b", 0.25F, {}}};
    const std::string a = "devices: 1\ndevice:\t1\t16\t1\ta\tA\n";
    const std::string idleB = "devices: 1\ndevice:\t0\t16\t1\tb\tB\n";
    serverPrints(a + "devices: 0\n");
    EXPECT_TRUE(volumeRow().isHidden()) << "no device, no warning";
    serverPrints(a + idleB);
    EXPECT_EQ(volumeRow().title(), "⚠ B volume is 25% — click to set 100%");
    delegate->menuWillOpen(menu());
    serverPrints(a + idleB);
    EXPECT_EQ(volumeRow().title(), "⚠ A volume is 50% — click to set 100%")
        << "the shown device waits for the menu to close, the active one does not";
}

TEST_F(DeviceMenuTest, AVolumeThatCouldNotBeReadInTimeIsReadWhenTheSystemAnswersAgain) {
    system.audioHardware.all = {{.uid = "a", .output = 0.5F, .input = {}}};
    system.audioHardware.listable = false;
    serverListsDevices({device(true, 2, "a", "A")});
    EXPECT_TRUE(volumeRow().isHidden());
    system.audioHardware.listable = true;
    system.audioHardware.recovered();
    EXPECT_FALSE(volumeRow().isHidden());
    EXPECT_EQ(volumeRow().title(), "⚠ A volume is 50% — click to set 100%");
}

TEST_F(DeviceMenuTest, ASystemThatAnswersAgainWarnsOfNoDeviceThatHasGone) {
    system.audioHardware.all = {{.uid = "a", .output = 0.5F, .input = {}}};
    system.audioHardware.recovered();
    EXPECT_TRUE(volumeRow().isHidden()) << "none was ever there";
    serverListsDevices({device(true, 2, "a", "A")});
    serverPrints("devices: 0\n");
    system.audioHardware.recovered();
    EXPECT_TRUE(volumeRow().isHidden());
}

TEST_F(DeviceMenuTest, AVolumeThatIsNoNumberDoesNotWarn) {
    system.audioHardware.all = {{"a", std::numeric_limits<float>::quiet_NaN(), {}}};
    delegate->refreshVolumeWarning("a", "A");
    EXPECT_TRUE(volumeRow().isHidden());
}

TEST_F(DeviceMenuTest, ANameCannotActAsAFormat) {
    system.audioHardware.all = {{"a", 0.5F, {}}};
    delegate->refreshVolumeWarning("a", "100%s %n %@");
    EXPECT_EQ(volumeRow().title(), "⚠ 100%s %n %@ volume is 50% — click to set 100%");
}

TEST_F(DeviceMenuTest, TheWarningFixesTheVolumeAndGoes) {
    system.audioHardware.all = {{"a", 0.5F, 0.25F}};
    serverListsDevices({device(true, 16, "a", "A")});
    menu().choose(volumeRow());
    EXPECT_EQ(system.audioHardware.all[0].output, 1.0F);
    EXPECT_THAT(log(), EndsWith("\n— set a volume to 100% —\n"));
    EXPECT_TRUE(volumeRow().isHidden());
}

TEST_F(DeviceMenuTest, AFixThatFailsChangesNothing) {
    system.audioHardware.all = {{"a", 0.5F, {}}};
    serverListsDevices({device(true, 16, "a", "A")});
    system.audioHardware.all.clear();
    const auto before = log();
    menu().choose(volumeRow());
    EXPECT_EQ(log(), before);
    EXPECT_FALSE(volumeRow().isHidden()) << "the row stays until the next report";
}

TEST_F(DeviceMenuTest, AfterAFixWithNoActiveDeviceTheWarningStays) {
    system.audioHardware.all = {{"a", 0.5F, {}}};
    serverListsDevices({device(false, 16, "a", "A")});
    menu().choose(volumeRow());
    EXPECT_EQ(system.audioHardware.all[0].output, 1.0F);
    EXPECT_THAT(log(), EndsWith("\n— set a volume to 100% —\n"));
    EXPECT_FALSE(volumeRow().isHidden());
}

TEST_F(DeviceMenuTest, WithoutAWarningThereIsNothingToFix) {
    delegate->fixDeviceVolume();
    EXPECT_EQ(log(), "");
}

TEST_F(DeviceMenuTest, ChoosingADeviceWritesThenLogsThenRestarts) {
    serverListsDevices({device(true, 16, "a", "A"), device(false, 16, "b", "B")});
    EXPECT_THAT(effectsOf([this] { deviceRow().submenu()->choose(choice(1)); }, "audio device set to b"),
                ElementsAre("write", "end, logged", "launch, logged"));
}

TEST_F(DeviceMenuTest, PercentIsReckonedInSinglePrecision) {
    EXPECT_EQ(volumeWarningTitle("A", 0.985F), "⚠ A volume is 98% — click to set 100%");
}

TEST_F(DeviceMenuTest, ASideThatCannotBeReadLeavesTheOther) {
    auto& hardware = system.audioHardware;
    hardware.all = {{"out", 0.25F, 0.5F, {VolumeScope::output}}, {"in", 0.5F, 0.25F, {VolumeScope::input}}};
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "out"), 0.5F);
    EXPECT_EQ(DeviceVolume::lowestScalar(hardware, "in"), 0.5F);
}

TEST_F(DeviceMenuTest, ASideThatCannotBeSetLeavesTheOther) {
    auto& hardware = system.audioHardware;
    hardware.all = {{"out", 0.25F, 0.5F, {}, {VolumeScope::output}},
                    {"in", 0.5F, 0.25F, {}, {VolumeScope::input}}};
    EXPECT_TRUE(DeviceVolume::setUnity(hardware, "out"));
    EXPECT_EQ(hardware.all[0].output, 0.25F);
    EXPECT_EQ(hardware.all[0].input, 1.0F);
    EXPECT_TRUE(DeviceVolume::setUnity(hardware, "in"));
    EXPECT_EQ(hardware.all[1].output, 1.0F);
    EXPECT_EQ(hardware.all[1].input, 0.25F);
}

TEST_F(DeviceMenuTest, AFixOfOneSideIsLoggedAndTheWarningStaysForTheOther) {
    system.audioHardware.all = {{"a", 0.5F, 0.25F, {}, {VolumeScope::output}}};
    serverListsDevices({device(true, 16, "a", "A")});
    menu().choose(volumeRow());
    EXPECT_THAT(log(), EndsWith("\n— set a volume to 100% —\n"));
    EXPECT_EQ(volumeRow().title(), "⚠ A volume is 50% — click to set 100%");
    EXPECT_FALSE(volumeRow().isHidden());
}

}  // namespace orvane::test
