// Phones that go on sending while nothing is to be received.
#include "macos/bluetooth/PhoneIntake.h"
#include "support/TestRunLoop.h"

#include <algorithm>
#include <numeric>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Bytes = std::vector<std::uint8_t>;
using End = PhoneIntake::End;

/// Bytes whose order shows: pieces of RFCOMM's, or of ours, that change places are noticed.
Bytes numbered(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 251);
    return bytes;
}

}  // namespace

class PhoneIntakeTest : public testing::Test {
  protected:
    /// In pieces such as RFCOMM's.
    void send(std::span<const std::uint8_t> bytes) {
        constexpr std::size_t mtu = 667;
        for (; !bytes.empty(); bytes = bytes.subspan(std::min(mtu, bytes.size())))
            intake.add(bytes.first(std::min(mtu, bytes.size())));
    }

    Bytes allReceived() const {
        return std::accumulate(received.begin(), received.end(), Bytes(), [](Bytes all, const Bytes& piece) {
            all.insert(all.end(), piece.begin(), piece.end());
            return all;
        });
    }

    TestRunLoop loop;
    std::vector<Bytes> received;
    std::vector<End> ends;
    std::function<void()> onReceived = [] {};
    PhoneIntake intake{{.received =
                            [this](std::span<const std::uint8_t> bytes) {
                                EXPECT_THAT(ends, IsEmpty());
                                received.emplace_back(bytes.begin(), bytes.end());
                                onReceived();
                            },
                        .ended = [this](End end) { ends.push_back(end); },
                        .handOnLater = [this] { loop.async([this] { intake.handOn(); }); }}};
};

TEST_F(PhoneIntakeTest, WhatComesIsHandedOnAtOnceAndSoIsTheEnd) {
    intake.add(Bytes{1, 2});
    intake.add(Bytes{3});
    EXPECT_THAT(received, ElementsAre(Bytes{1, 2}, Bytes{3}));
    EXPECT_FALSE(intake.isClosed());
    intake.close();
    EXPECT_TRUE(intake.isClosed());
    EXPECT_THAT(ends, ElementsAre(End::closedByPhone));
    intake.add(Bytes{4});
    intake.close();
    loop.runPending();
    EXPECT_THAT(received, SizeIs(2));
    EXPECT_THAT(ends, SizeIs(1));
}

TEST_F(PhoneIntakeTest, WhatComesWhileNothingIsToBeReceivedIsHandedOnLaterInOrder) {
    intake.setReceiving(false);
    intake.add(Bytes{1, 2});
    intake.add(Bytes{3});
    loop.runPending();
    EXPECT_THAT(received, IsEmpty());
    intake.setReceiving(true);
    EXPECT_THAT(received, IsEmpty()) << "from within the call";
    intake.add(Bytes{4});
    loop.runPending();
    intake.add(Bytes{5});
    EXPECT_EQ(allReceived(), (Bytes{1, 2, 3, 4, 5}));
}

TEST_F(PhoneIntakeTest, AChangeOfMindBeforeTheNextTurnHandsNothingOn) {
    intake.setReceiving(false);
    intake.add(Bytes{1});
    intake.setReceiving(true);
    intake.setReceiving(false);
    loop.runPending();
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(PhoneIntakeTest, MuchIsHandedOnInPiecesAndOnlyAsLongAsItIsWanted) {
    const Bytes sent = numbered(3 * PhoneIntake::maxPiece + 5);
    intake.setReceiving(false);
    send(sent);
    onReceived = [this] { intake.setReceiving(received.size() != 2); };
    intake.setReceiving(true);
    loop.runPending();
    EXPECT_EQ(received.size(), 2U);
    intake.setReceiving(true);
    loop.runPending();
    EXPECT_EQ(received.size(), 4U);
    for (const Bytes& piece : received)
        EXPECT_LE(piece.size(), PhoneIntake::maxPiece);
    EXPECT_TRUE(allReceived() == sent);
}

TEST_F(PhoneIntakeTest, WhatIsKeptComesBeforeTheEnd) {
    const Bytes sent = numbered(PhoneIntake::maxPiece + 1);
    intake.setReceiving(false);
    send(sent);
    intake.close();
    loop.runPending();
    EXPECT_TRUE(intake.isClosed());
    EXPECT_THAT(ends, IsEmpty());
    intake.setReceiving(true);
    loop.runPending();
    EXPECT_TRUE(allReceived() == sent);
    EXPECT_THAT(ends, ElementsAre(End::closedByPhone));
}

TEST_F(PhoneIntakeTest, TheEndWaitsAsBytesDo) {
    intake.setReceiving(false);
    intake.close();
    EXPECT_THAT(ends, IsEmpty());
    intake.setReceiving(true);
    EXPECT_THAT(ends, IsEmpty()) << "from within the call";
    loop.runPending();
    EXPECT_THAT(ends, ElementsAre(End::closedByPhone));
}

TEST_F(PhoneIntakeTest, APhoneThatSendsWithoutEndIsLetGo) {
    intake.setReceiving(false);
    send(Bytes(PhoneIntake::maxKept));
    EXPECT_THAT(ends, IsEmpty());
    intake.add(Bytes{1});
    EXPECT_THAT(ends, ElementsAre(End::tooMuch));
    EXPECT_TRUE(intake.isClosed());
    send(Bytes(PhoneIntake::maxKept));
    intake.setReceiving(true);
    intake.close();
    loop.runPending();
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(ends, SizeIs(1));
}

TEST_F(PhoneIntakeTest, AsMuchAsIsKeptIsHandedOnWholeWhileMoreComes) {
    const Bytes sent = numbered(PhoneIntake::maxKept + 10'000);
    intake.setReceiving(false);
    send(std::span(sent).first(PhoneIntake::maxKept));
    intake.setReceiving(true);
    send(std::span(sent).subspan(PhoneIntake::maxKept));
    loop.runPending();
    EXPECT_THAT(ends, IsEmpty());
    EXPECT_TRUE(allReceived() == sent);
}

}  // namespace orvane::test
