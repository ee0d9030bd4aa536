// What the server's lines mean, without any controller around it: the events, and their order.
#include "app/ServerOutput.h"
#include "support/BorderedPage.h"
#include "support/StatusLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;
using testing::IsEmpty;

class ServerOutputTest : public testing::Test {
  protected:
    std::vector<ServerEvent> read(std::string_view text) {
        std::vector<ServerEvent> events;
        output_.read(text, [&](ServerEvent event) { events.push_back(std::move(event)); });
        return events;
    }

    const std::string deviceLine_ = DeviceLine{}.text();
    const std::string phoneLine_ = PhoneLine{}.text();
    const LoopbackDevice device_{
        .uid = "a", .name = "A", .outChannels = 16, .isActive = true, .firstChannel = 1};
    const PhoneSession phone_{.slot = 0,
                              .firstChannel = 1,
                              .packets = 100,
                              .bufferMs = 42,
                              .targetMs = 40,
                              .xruns = 0,
                              .rttMs = 11.5,
                              .netDelayMs = 4.25,
                              .preset = "voice",
                              .label = "192.168.1.7",
                              .format = "48k s16 mono",
                              .deviceId = 7,
                              .name = "Kitchen"};

  private:
    ServerOutput output_;
};

TEST_F(ServerOutputTest, TalkMeansNothing) {
    EXPECT_THAT(read("hello: world = 1\n\nphones=yes\nsession: 1\n"), IsEmpty());
}

TEST_F(ServerOutputTest, AMarkerIsFoundWhereverItStandsInALineOfAnyLength) {
    const std::vector<std::pair<std::string, ServerEvent>> markers{
        {"phone=yes", ConnectionReport::connected},
        {"pairing: REJECTED", ConnectionReport::wrongCode},
        {"routing to VIRTUAL", RoutingReport::loopback}};
    BorderedPage page;
    for (const auto& [marker, event] : markers) {
        for (std::size_t size = marker.size(); size < 56; ++size) {
            for (std::size_t at = 0; at + marker.size() <= size; ++at) {
                const std::string line =
                    std::string(at, 'x') + marker + std::string(size - at - marker.size(), 'x');
                EXPECT_THAT(read(page.atFront(line)), ElementsAre(event)) << line;
                EXPECT_THAT(read(page.atEnd(line)), ElementsAre(event)) << line;
            }
        }
    }
}

TEST_F(ServerOutputTest, AMarkerIsFoundWhereverItStandsInATextOfManyBlocks) {
    const std::string marker = "phone=yes";
    BorderedPage page;
    for (const std::size_t size : {63U, 64U, 65U, 66U, 127U, 128U, 129U, 130U, 257U}) {
        const std::string talk(size, 'x');
        EXPECT_THAT(read(page.atEnd(talk)), IsEmpty());
        for (std::size_t at = 0; at + marker.size() <= size; ++at) {
            std::string text = talk;
            text.replace(at, marker.size(), marker);
            EXPECT_THAT(read(page.atEnd(text)), ElementsAre(ConnectionReport::connected)) << text;
        }
    }
}

TEST_F(ServerOutputTest, ABlockIsOneEventWithItsLastRecord) {
    EXPECT_THAT(read("devices: 2\n" + deviceLine_), IsEmpty());
    EXPECT_THAT(read(deviceLine_), ElementsAre(DevicesListed{{device_, device_}}));
    EXPECT_THAT(read("sessions: 1\n" + phoneLine_), ElementsAre(PhonesListed{{phone_}}));
}

TEST_F(ServerOutputTest, AListAnnouncedAsEmptyIsWholeAtOnce) {
    EXPECT_THAT(read("devices: 0\nsessions: none\n"), ElementsAre(DevicesListed{}, PhonesListed{}));
}

TEST_F(ServerOutputTest, BlocksOfBothKindsAreCollectedSideBySide) {
    EXPECT_THAT(read("devices: 1\nsessions: 1\n" + deviceLine_ + phoneLine_),
                ElementsAre(DevicesListed{{device_}}, PhonesListed{{phone_}}));
}

TEST_F(ServerOutputTest, OneLineMayMeanSeveralThingsInThisOrder) {
    EXPECT_THAT(
        read("pairing code: 5 align=off phone=yes routing to VIRTUAL routing to default-output\n"),
        ElementsAre(
            AlignmentReported{false},
            PairingCodeAnnounced{"5 align=off phone=yes routing to VIRTUAL routing to default-output"},
            ConnectionReport::connected, RoutingReport::defaultOutput, RoutingReport::loopback));
}

TEST_F(ServerOutputTest, ARefusalEndsTheLine) {
    EXPECT_THAT(read("align=on pairing: too many wrong codes phone=yes routing to VIRTUAL\n"),
                ElementsAre(AlignmentReported{true}, ConnectionReport::locked));
    EXPECT_THAT(read("pairing: too many wrong codes pairing: REJECTED\n"),
                ElementsAre(ConnectionReport::wrongCode));
}

TEST_F(ServerOutputTest, NothingButTheListsIsCarriedFromOneTextToTheNext) {
    EXPECT_THAT(read("phone=wai"), IsEmpty());
    EXPECT_THAT(read("ting\n"), IsEmpty());
    EXPECT_THAT(read("phone=waiting"), ElementsAre(ConnectionReport::waiting));
}

}  // namespace orvane::test
