#include "linux/EventLoop.h"
#include "linux/ProcessTable.h"
#include "linux/SoundServer.h"
#include "linux/system/PulseAudioHardware.h"
#include "support/OwnResources.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr auto output = VolumeScope::output;
constexpr auto input = VolumeScope::input;

class PulseAudioHardwareTest : public testing::Test {
  protected:
    PulseAudioHardwareTest() {
        hardware.setRecoveryHandler([this] { ++recoveries; });
    }

    SoundServer server;
    PulseAudioHardware hardware;
    int recoveries = 0;

    /// Once the server answers: on a busy machine it may be late, as one that has just been started may be.
    std::vector<AudioHardware::DeviceId> devices() {
        std::optional<std::vector<AudioHardware::DeviceId>> answer;
        EXPECT_TRUE(runUntil([&] { return (answer = hardware.devices()).has_value(); }));
        return answer.value_or(std::vector<AudioHardware::DeviceId>());
    }
    std::vector<std::string> uids() {
        std::vector<std::string> names;
        for (const auto device : devices())
            names.push_back(hardware.uid(device).value_or("none"));
        return names;
    }
    AudioHardware::DeviceId first() { return devices().at(0); }
    std::optional<float> volume(VolumeScope scope) { return hardware.volume(first(), scope); }

    static int milliseconds(const auto& call) { return taken(call).own; }
};

const QStringList blackHole = {"sink_name=BlackHole16ch_UID channels=16"};

TEST_F(PulseAudioHardwareTest, DevicesAreTheSinksInTheServersOrderNamedByTheirNames) {
    server.start(
        {"sink_name=first channels=2", "sink_name=BlackHole16ch_UID channels=16", "sink_name=third"});
    EXPECT_THAT(uids(), ElementsAre("first", "BlackHole16ch_UID", "third"));
}

TEST_F(PulseAudioHardwareTest, AServerWithoutSinksHasNoDevices) {
    server.start({});
    EXPECT_THAT(devices(), testing::IsEmpty());
}

TEST_F(PulseAudioHardwareTest, FiftyPerCentIsOneHalfOnEitherSide) {
    server.start(blackHole);
    EXPECT_EQ(volume(output), 1.0F);
    EXPECT_EQ(volume(input), 1.0F);
    SoundServer::setVolume("sink", "BlackHole16ch_UID", {"50%"});
    EXPECT_EQ(volume(output), 0.5F);
    EXPECT_EQ(volume(input), 1.0F);
    SoundServer::setVolume("source", "BlackHole16ch_UID.monitor", {"25%"});
    EXPECT_EQ(volume(output), 0.5F);
    EXPECT_EQ(volume(input), 0.25F);
}

TEST_F(PulseAudioHardwareTest, TheLoudestChannelIsTheMainVolume) {
    server.start({"sink_name=pair channels=2"});
    SoundServer::setVolume("sink", "pair", {"25%", "75%"});
    EXPECT_EQ(volume(output), 0.75F);
}

TEST_F(PulseAudioHardwareTest, AnAmplifiedDeviceIsAtFullVolume) {
    server.start(blackHole);
    SoundServer::setVolume("sink", "BlackHole16ch_UID", {"140%"});
    EXPECT_EQ(volume(output), 1.0F);
}

TEST_F(PulseAudioHardwareTest, SettingReachesEveryChannelOfThatSideOnly) {
    server.start(blackHole);
    SoundServer::setVolume("sink", "BlackHole16ch_UID", {"50%"});
    SoundServer::setVolume("source", "BlackHole16ch_UID.monitor", {"30%"});
    const auto device = first();
    EXPECT_TRUE(runUntil([&] { return hardware.setVolume(device, output, 1.0F); }));
    EXPECT_EQ(hardware.volume(device, output), 1.0F);
    const auto sink = SoundServer::control({"get-sink-volume", "BlackHole16ch_UID"});
    EXPECT_THAT(sink, HasSubstr("65536 / 100%"));
    EXPECT_THAT(sink, Not(HasSubstr("50%")));
    EXPECT_THAT(SoundServer::control({"get-source-volume", "BlackHole16ch_UID.monitor"}), HasSubstr("30%"));

    EXPECT_TRUE(runUntil([&] { return hardware.setVolume(device, input, 1.0F); }));
    EXPECT_THAT(SoundServer::control({"get-source-volume", "BlackHole16ch_UID.monitor"}),
                Not(HasSubstr("30%")));
}

TEST_F(PulseAudioHardwareTest, AnUnknownDeviceHasNothing) {
    server.start(blackHole);
    const auto unknown = first() + 17;
    EXPECT_FALSE(hardware.uid(unknown));
    EXPECT_FALSE(hardware.hasVolume(unknown, output));
    EXPECT_FALSE(hardware.volume(unknown, input));
    EXPECT_FALSE(hardware.setVolume(unknown, output, 1.0F));
}

TEST_F(PulseAudioHardwareTest, ASinkThatHasGoneCannotBeSet) {
    server.start(blackHole);
    const auto device = first();
    SoundServer::control({"unload-module", "module-null-sink"});
    EXPECT_FALSE(hardware.setVolume(device, output, 1.0F));
    EXPECT_THAT(uids(), testing::IsEmpty());
}

TEST_F(PulseAudioHardwareTest, WithoutAServerThereIsNothingAndNoWaiting) {
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.devices()); }), 100);
    EXPECT_FALSE(hardware.setVolume(0, output, 1.0F));
    server.start(blackHole);
    EXPECT_THAT(uids(), ElementsAre("BlackHole16ch_UID"));
}

TEST_F(PulseAudioHardwareTest, AStoppedServerCostsOneShortWaitUntilItAnswersAgain) {
    server.start(blackHole);
    const auto device = first();
    server.stop();
    const Taken firstWait = taken([&] { EXPECT_FALSE(hardware.devices()); });
    EXPECT_GE(firstWait.whole, 90);
    EXPECT_LT(firstWait.own, 350);
    EXPECT_FALSE(hardware.volume(device, output));
    runFor(600ms);
    EXPECT_EQ(recoveries, 0);
    EXPECT_LT(milliseconds([&] {
                  for (int i = 0; i < 100; ++i)
                      EXPECT_FALSE(hardware.devices());
              }),
              50);
    server.goOn();
    EXPECT_TRUE(runUntil([&] { return recoveries == 1; }));
    EXPECT_THAT(uids(), ElementsAre("BlackHole16ch_UID"));
    runFor(600ms);
    EXPECT_EQ(recoveries, 1);
}

TEST_F(PulseAudioHardwareTest, AServerStoppedBeforeTheFirstCallCostsTheSame) {
    server.start(blackHole);
    server.stop();
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.devices()); }), 350);
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.devices()); }), 20);
    server.goOn();
    EXPECT_TRUE(runUntil([&] { return recoveries == 1; }));
    EXPECT_THAT(uids(), ElementsAre("BlackHole16ch_UID"));
}

TEST_F(PulseAudioHardwareTest, AServerThatEndsWhileItIsSilentIsNoLongerWaitedFor) {
    server.start(blackHole);
    first();
    server.stop();
    EXPECT_FALSE(hardware.devices());
    server.kill();
    EXPECT_TRUE(runUntil([&] { return recoveries == 1; }));
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.devices()); }), 100);
    server.start({"sink_name=another"});
    EXPECT_THAT(uids(), ElementsAre("another"));
}

TEST_F(PulseAudioHardwareTest, AServerThatIsNotThereIsLookedForOnceASecond) {
    EXPECT_FALSE(hardware.devices());
    runFor(1100ms);
    EXPECT_EQ(recoveries, 0) << "nobody has asked meanwhile";

    EXPECT_FALSE(hardware.devices());
    EXPECT_LT(milliseconds([&] {
                  for (int i = 0; i < 5000; ++i)
                      EXPECT_FALSE(hardware.devices());
              }),
              100);
    server.start(blackHole);
    EXPECT_TRUE(runUntil([&] { return recoveries == 1; }));
    EXPECT_THAT(uids(), ElementsAre("BlackHole16ch_UID"));
}

TEST_F(PulseAudioHardwareTest, SettingAtAStoppedServerFailsInAShortWait) {
    server.start(blackHole);
    const auto device = first();
    server.stop();
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.setVolume(device, output, 0.5F)); }), 350);
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.setVolume(device, input, 0.5F)); }), 20);
    server.goOn();
    EXPECT_TRUE(runUntil([&] { return recoveries == 1; }));
    EXPECT_EQ(volume(output), 0.5F) << "it has heard of it all the same";
    EXPECT_EQ(volume(input), 1.0F);
}

TEST_F(PulseAudioHardwareTest, AKilledServerIsNoticedAndANewOneServesSoon) {
    server.start(blackHole);
    const auto device = first();
    server.kill();
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.setVolume(device, output, 1.0F)); }), 100);
    EXPECT_LT(milliseconds([&] { EXPECT_FALSE(hardware.devices()); }), 100);
    server.start({"sink_name=another"});
    EXPECT_THAT(uids(), ElementsAre("another"));
}

TEST_F(PulseAudioHardwareTest, ARestartBetweenTwoCallsIsNotEvenSeen) {
    server.start(blackHole);
    EXPECT_EQ(volume(output), 1.0F);
    server.kill();
    server.start({"sink_name=another"});
    EXPECT_THAT(uids(), ElementsAre("another"));
}

TEST_F(PulseAudioHardwareTest, CallsLeaveNoThreadAndNoDescriptor) {
    server.start(blackHole);
    first();
    const std::size_t descriptors = openDescriptors();
    const auto threads = runningThreads();
    for (int i = 0; i < 20; ++i) {
        PulseAudioHardware another;
        EXPECT_TRUE(runUntil([&] { return another.devices().has_value(); }));
    }
    for (int i = 0; i < 200; ++i)
        first();
    // Some of an earlier test may still have been there at first.
    EXPECT_LE(openDescriptors(), descriptors);
    EXPECT_LE(runningThreads(), threads);
}

}  // namespace

}  // namespace orvane::test
