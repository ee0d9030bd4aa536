#include "check/CheckReport.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::HasSubstr;
using testing::Not;
using Verdict = CheckLine::Verdict;

template <typename Fact>
Answer<Fact> known(Fact fact) {
    return {false, std::move(fact)};
}

/// A computer on which everything is there.
CheckFacts allIsWell() {
    CheckFacts facts;
    facts.serverPath = "/usr/bin/orvaned";
    facts.server = known(ProgramPresence::executable);
    facts.portNumber = 5555;
    facts.port = known(PortFacts{});
    facts.settingsFolder = "/home/tester/Library/Application Support/Orvane";
    facts.settingsObstacle = known(std::string());
    AdbFacts adb{"/usr/bin/adb", "1.0.41", true, {}};
    adb.phones = std::vector<AdbFacts::Phone>{{"SERIAL", "device"}};
    facts.adb = known(adb);
    BluetoothFacts bluetooth;
    bluetooth.busAnswers = bluetooth.serviceRuns = bluetooth.hasHardware = true;
    bluetooth.adapters = {{"hci0", true}};
    bluetooth.paired = {{"Pixel", "AA:BB:CC:DD:EE:FF"}};
    facts.bluetooth = known(bluetooth);
    facts.chosenPhone = known(std::string("aa:bb:cc:dd:ee:ff"));
    facts.sound = known(SoundFacts{"PulseAudio 16.1", {{"Speakers", 2, false}, {"Orvane", 16, true}}});
    facts.surface = known(SurfaceFacts{true, "an icon in the tray", "a panel takes icons"});
    facts.autostart = known(AutostartFacts{false, ""});
    return facts;
}

CheckLine line(const CheckFacts& facts, const std::string& id) {
    for (const CheckLine& line : CheckReport::judge(facts).lines)
        if (line.id == id) return line;
    ADD_FAILURE() << "no line " << id;
    return {};
}

TEST(CheckReportTest, WhereEverythingIsThereEveryLineIsOk) {
    const CheckReport report = CheckReport::judge(allIsWell());
    for (const CheckLine& line : report.lines) {
        EXPECT_EQ(line.verdict, Verdict::ok) << line.id;
        EXPECT_EQ(line.advice, "") << line.id;
    }
    EXPECT_TRUE(report.canRun());
    EXPECT_EQ(report.lines.size(), 11U);
}

TEST(CheckReportTest, AMissingServerIsNamedWithItsPlace) {
    CheckFacts facts = allIsWell();
    facts.server = known(ProgramPresence::absent);
    EXPECT_EQ(line(facts, "server").verdict, Verdict::missing);
    EXPECT_THAT(line(facts, "server").found, HasSubstr("/usr/bin/orvaned"));
    EXPECT_FALSE(CheckReport::judge(facts).canRun());
    facts.server = known(ProgramPresence::notExecutable);
    EXPECT_THAT(line(facts, "server").advice, HasSubstr("chmod +x"));
    facts.server = known(ProgramPresence::noFile);
    EXPECT_EQ(line(facts, "server").found, "/usr/bin/orvaned is no file");
    EXPECT_EQ(line(facts, "server").advice, "remove it, and install the server \"orvaned\" there");
}

TEST(CheckReportTest, SettingsThatEverybodyMayWriteToAreNamed) {
    CheckFacts facts = allIsWell();
    facts.settingsWritableByAll = known(std::vector<std::string>{"/home/tester/x/device", "/home/tester/x"});
    EXPECT_EQ(line(facts, "settings").verdict, Verdict::missing);
    EXPECT_EQ(line(facts, "settings").found, "/home/tester/x/device may be written to by every user");
    EXPECT_THAT(line(facts, "settings").advice, HasSubstr("chmod -R o-w '" + facts.settingsFolder + "'"));
    facts.settingsWritableByAll = known(std::vector<std::string>{});
    EXPECT_EQ(line(facts, "settings").verdict, Verdict::ok);
}

TEST(CheckReportTest, ThePortMayBeHeldByOurOwnServerOnly) {
    CheckFacts facts = allIsWell();
    facts.port = known(PortFacts{false, "orvaned", 12});
    EXPECT_EQ(line(facts, "port").verdict, Verdict::ok);
    facts.port = known(PortFacts{false, "nc", 34});
    EXPECT_EQ(line(facts, "port").found, "5555 is held by nc (process 34)");
    EXPECT_FALSE(CheckReport::judge(facts).canRun());
    facts.port = known(PortFacts{false, "", 0});
    EXPECT_EQ(line(facts, "port").found, "5555 is held by a program that cannot be told");
}

TEST(CheckReportTest, AnotherUsersProgramAtThePortIsNamedWithItsUser) {
    CheckFacts facts = allIsWell();
    facts.port = known(PortFacts{false, "", 0, "anna"});
    EXPECT_EQ(line(facts, "port").found, "5555 is held by a program of the user anna");
    EXPECT_EQ(line(facts, "port").advice, "have anna or an administrator end it");
    facts.port = known(PortFacts{false, "orvaned", 12, "anna"});
    EXPECT_EQ(line(facts, "port").verdict, Verdict::missing);
    EXPECT_EQ(line(facts, "port").found, "5555 is held by orvaned (process 12) of the user anna");
}

TEST(CheckReportTest, SettingsThatCannotBeWrittenAreToldWithTheReason) {
    CheckFacts facts = allIsWell();
    facts.settingsObstacle = known(std::string("/folder cannot be written: Read-only file system"));
    EXPECT_EQ(line(facts, "settings").found, "/folder cannot be written: Read-only file system");
    EXPECT_THAT(line(facts, "settings").advice, HasSubstr("not kept"));
    EXPECT_FALSE(CheckReport::judge(facts).canRun());
}

TEST(CheckReportTest, WhatDidNotAnswerIsUnknownAndWhatIsRequiredMustBeKnown) {
    CheckFacts facts = allIsWell();
    facts.adb = {true, {}};
    EXPECT_EQ(line(facts, "phones").verdict, Verdict::unknown);
    EXPECT_TRUE(CheckReport::judge(facts).canRun());
    facts.sound = {true, {}};
    EXPECT_EQ(line(facts, "loopback").verdict, Verdict::unknown);
    EXPECT_FALSE(CheckReport::judge(facts).canRun());
}

TEST(CheckReportTest, WhatMeansNothingOnASystemHasNoLine) {
    CheckFacts facts = allIsWell();
    facts.autostart = {};
    EXPECT_THAT(CheckReport::judge(facts).table(), Not(HasSubstr("At login")));
}

TEST(CheckReportTest, TheSystemsOwnCommandIsAdvisedAndHomebrewWhereThereIsNone) {
    CheckFacts facts = allIsWell();
    facts.adb = known(AdbFacts{});
    EXPECT_EQ(line(facts, "adb").advice, "brew install --cask android-platform-tools");
    facts.remedies.installAdb = "sudo apt install adb";
    EXPECT_EQ(line(facts, "adb").advice, "sudo apt install adb");
    EXPECT_TRUE(CheckReport::judge(facts).canRun()) << "phones on Wi-Fi need no adb";
}

TEST(CheckReportTest, PhonesOnACableAreListedWithTheirStates) {
    CheckFacts facts = allIsWell();
    facts.remedies.allowPhones = "one\ntwo";
    facts.adb.fact->phones = std::vector<AdbFacts::Phone>{{"A", "unauthorized"}, {"B", "device"}};
    EXPECT_EQ(line(facts, "phones").found, "A (unauthorized), B (device)");
    EXPECT_EQ(line(facts, "phones").verdict, Verdict::ok);
    facts.adb.fact->phones = std::vector<AdbFacts::Phone>{{"A", "unauthorized"}};
    EXPECT_THAT(line(facts, "phones").advice, HasSubstr("allow USB debugging"));
    facts.adb.fact->phones =
        std::vector<AdbFacts::Phone>{{"A", "no permissions (user in plugdev group); see [http://developer]"}};
    EXPECT_EQ(line(facts, "phones").advice, "one; two");
    facts.adb.fact->phones = std::vector<AdbFacts::Phone>();
    EXPECT_EQ(line(facts, "phones").verdict, Verdict::missing);
    facts.adb.fact->daemonRuns = false;
    EXPECT_EQ(line(facts, "phones").verdict, Verdict::unknown);
}

TEST(CheckReportTest, EachThingThatKeepsBluetoothAwayIsTold) {
    CheckFacts facts = allIsWell();
    BluetoothFacts& bluetooth = *facts.bluetooth.fact;
    bluetooth.adapters[0].isPowered = false;
    EXPECT_THAT(line(facts, "bluetooth").advice, HasSubstr("settings"));
    facts.remedies.switchBluetoothOn = "bluetoothctl power on";
    EXPECT_EQ(line(facts, "bluetooth").advice, "bluetoothctl power on");
    bluetooth.isBlocked = true;
    EXPECT_THAT(line(facts, "bluetooth").advice, HasSubstr("rfkill unblock"));
    bluetooth.adapters.clear();
    bluetooth.serviceRuns = false;
    EXPECT_THAT(line(facts, "bluetooth").found, HasSubstr("service does not run"));
    bluetooth.hasHardware = false;
    EXPECT_EQ(line(facts, "bluetooth").found, "no adapter");
    bluetooth.busAnswers = false;
    EXPECT_THAT(line(facts, "bluetooth").found, HasSubstr("system bus"));
}

TEST(CheckReportTest, RefusedBluetoothIsToldBeforeAllElseWithWhereToAllowIt) {
    CheckFacts facts = allIsWell();
    facts.bluetooth.fact->isRefused = true;
    facts.bluetooth.fact->adapters.clear();
    facts.remedies.allowBluetooth = "allow it there";
    EXPECT_EQ(line(facts, "bluetooth").verdict, Verdict::missing);
    EXPECT_EQ(line(facts, "bluetooth").found, "refused to Orvane");
    EXPECT_EQ(line(facts, "bluetooth").advice, "allow it there");
}

TEST(CheckReportTest, TheChosenPhoneIsMarked) {
    CheckFacts facts = allIsWell();
    EXPECT_EQ(line(facts, "pairing").found, "Pixel (chosen)");
    facts.chosenPhone = known(std::string("00:00:00:00:00:00"));
    EXPECT_THAT(line(facts, "pairing").found, HasSubstr("is not paired"));
    facts.chosenPhone = {};
    EXPECT_THAT(line(facts, "pairing").found, HasSubstr("none is chosen"));
    facts.bluetooth.fact->paired.clear();
    EXPECT_EQ(line(facts, "pairing").found, "no phone is paired");
    facts.bluetooth.fact->serviceRuns = false;
    EXPECT_EQ(line(facts, "pairing").verdict, Verdict::unknown);
}

TEST(CheckReportTest, OnlyALoopbackDeviceCountsAndItsPhonesAreCounted) {
    CheckFacts facts = allIsWell();
    EXPECT_EQ(line(facts, "loopback").found, "Orvane (16 channels, 8 phones)");
    facts.sound.fact->devices.pop_back();
    facts.remedies.makeLoopbackDevice = "pactl load-module";
    EXPECT_EQ(line(facts, "loopback").verdict, Verdict::missing);
    EXPECT_EQ(line(facts, "loopback").advice, "pactl load-module");
    EXPECT_FALSE(CheckReport::judge(facts).canRun());
}

TEST(CheckReportTest, ASurfaceThatNobodySeesIsAFault) {
    CheckFacts facts = allIsWell();
    facts.surface = known(SurfaceFacts{false, "nowhere", "there is no display"});
    EXPECT_EQ(line(facts, "surface").verdict, Verdict::missing);
    EXPECT_FALSE(CheckReport::judge(facts).canRun());
}

TEST(CheckReportTest, TheTableHasALineAThingAndNamesFromOutsideCannotBreakIt) {
    CheckFacts facts = allIsWell();
    facts.bluetooth.fact->paired[0].name = "evil\n\x1b[31mname";
    const std::string table = CheckReport::judge(facts).table();
    EXPECT_EQ(std::ranges::count(table, '\n'), 11);
    EXPECT_EQ(table.find('\x1b'), std::string::npos);
    EXPECT_THAT(table, HasSubstr("ok       Audio server     /usr/bin/orvaned\n"));
}

TEST(CheckReportTest, TheJsonQuotesWhatItMust) {
    CheckFacts facts = allIsWell();
    facts.bluetooth.fact->paired[0].name = "a\"b\\c\n";
    const std::string json = CheckReport::judge(facts).json();
    EXPECT_THAT(json, HasSubstr(R"(a\"b\\c)"));
    EXPECT_EQ(std::ranges::count(json, '\n'), 13);
    EXPECT_THAT(json, HasSubstr(R"({"canRun": true, "things": [)"));
}

}  // namespace
}  // namespace orvane::test
