// What each frame from the phone does, and how frames to the phone are written.
#include "support/BluetoothBridgeSetup.h"

#include <gtest/gtest.h>

namespace orvane::test {

class BluetoothFramesTest : public BluetoothBridgeSetup, public testing::Test {
  protected:
    BluetoothFramesTest() { openPixel(); }
};

TEST_F(BluetoothFramesTest, AnswersAndActsOnEachType) {
    struct Row {
        const char* what;
        Bytes received;
        Bytes reply;
        BtState state;
        const char* logLine;  ///< Null: none.
    };
    const BtState before = BtState::searching("Pixel");
    const Row rows[] = {
        {"hello with version 3", frame('H', "\x03rest"), {}, before, "Orvane: bridge v3"},
        {"hello with version 255", frame('H', "\xFF"), {}, before, "Orvane: bridge v255"},
        {"hello without a payload is version 0", frame('H'), {}, before, "Orvane: bridge v0"},
        {"link test start",
         frame('R', "ignored"),
         {'r', 0, 0, 0, 0},
         BtState::testing("Pixel"),
         "Orvane: link test started"},
        {"probe", frame('P', "filler"), {}, before, nullptr},
        {"link test end",
         frame('E', "ignored"),
         {'e', 0, 0, 0, 4, 0, 0, 0, 0},
         before,
         "Orvane: link test received 0 bytes"},
        {"attach without a server",
         frame('A'),
         {},
         BtState::failed("the receiver is not accepting connections"),
         "Orvane: orvaned is not accepting connections"},
        {"detach", frame('D'), {}, before, "Orvane: engine detached"},
        {"data without a server", frame('d', "audio"), {}, before, nullptr},
        {"an unknown type",
         frame('x', "what"),
         {},
         BtState::failed("unexpected data from the phone"),
         nullptr},
        {"our own types are unknown from the phone: r",
         frame('r'),
         {},
         BtState::failed("unexpected data from the phone"),
         nullptr},
        {"our own types are unknown from the phone: e",
         frame('e'),
         {},
         BtState::failed("unexpected data from the phone"),
         nullptr},
        {"too long a frame", {'d', 0, 1, 0, 1}, {}, BtState::failed("bad frame from the phone"), nullptr},
    };
    for (const Row& row : rows) {
        bridge.reset();
        openPixel();
        roles.systemLog.lines.clear();
        receive(row.received);
        EXPECT_EQ(channel->takeWritten(), row.reply) << row.what;
        EXPECT_EQ(bridge->state(), row.state) << row.what;
        const auto expected =
            row.logLine ? std::vector<std::string>{row.logLine} : std::vector<std::string>{};
        EXPECT_EQ(roles.systemLog.lines, expected) << row.what;
    }
}

TEST_F(BluetoothFramesTest, TheHandlerHearsOfAChangeLater) {
    receive(frame('R'));
    EXPECT_TRUE(heard.empty());
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::testing("Pixel")}));
    receive(frame('R'));
    loop.runPending();
    EXPECT_EQ(heard.size(), 1U);
}

TEST_F(BluetoothFramesTest, APhoneThatHasLostItsNameIsCalledPhone) {
    pixel->nameValue.reset();
    receive(frame('R'));
    EXPECT_EQ(bridge->state(), BtState::testing("phone"));
}

TEST_F(BluetoothFramesTest, ASplitFrameIsActedOnWhenItsLastByteArrives) {
    const Bytes hello = frame('H', "\x02 and more");
    for (std::size_t i = 0; i + 1 < hello.size(); ++i) {
        receive({hello[i]});
        EXPECT_FALSE(logged("Orvane: bridge v2"));
    }
    receive({hello.back()});
    EXPECT_TRUE(logged("Orvane: bridge v2"));
}

TEST_F(BluetoothFramesTest, SeveralFramesInOneCallAreAllActedOnInThatCall) {
    receive(frame('H', "\x01") + frame('R') + frame('P', "123") + frame('E') + frame('D'));
    EXPECT_EQ(channel->takeWritten(), (Bytes{'r', 0, 0, 0, 0, 'e', 0, 0, 0, 4, 0, 0, 0, 3}));
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothFramesTest, FiveBytesWithLengthZeroAreAWholeFrame) {
    receive({'R', 0, 0, 0, 0});
    EXPECT_EQ(bridge->state(), BtState::testing("Pixel"));
}

TEST_F(BluetoothFramesTest, AnEmptyCallChangesNothing) {
    receive({'R', 0, 0, 0});
    receive({});
    receive({0});
    EXPECT_EQ(bridge->state(), BtState::testing("Pixel"));
}

TEST_F(BluetoothFramesTest, TheLinkTestCountsTheBytesOfItsProbes) {
    receive(frame('R') + frame('P', std::string(1000, 'x')) + frame('P', std::string(24, 'y')));
    channel->takeWritten();
    receive(frame('E'));
    EXPECT_EQ(channel->takeWritten(), (Bytes{'e', 0, 0, 0, 4, 0, 0, 4, 0}));
    EXPECT_TRUE(logged("Orvane: link test received 1024 bytes"));
    EXPECT_EQ(bridge->state(), BtState::testing("Pixel"));
}

TEST_F(BluetoothFramesTest, OnlyALinkTestStartResetsTheCount) {
    receive(frame('P', "12") + frame('E') + frame('P', "345") + frame('E'));
    EXPECT_TRUE(logged("Orvane: link test received 2 bytes"));
    EXPECT_TRUE(logged("Orvane: link test received 5 bytes"));
    receive(frame('R') + frame('E'));
    EXPECT_TRUE(logged("Orvane: link test received 0 bytes"));
}

TEST_F(BluetoothFramesTest, TheCountWrapsAt32Bits) {
    const Bytes probe = frame('P', std::string(65536, 'x'));
    for (int i = 0; i < 65536; ++i)
        receive(probe);
    receive(frame('P', "123") + frame('E'));
    EXPECT_TRUE(logged("Orvane: link test received 3 bytes"));
}

TEST_F(BluetoothFramesTest, APayloadOf65536BytesIsAccepted) {
    receive(frame('P', std::string(65536, 'x')) + frame('E'));
    EXPECT_TRUE(logged("Orvane: link test received 65536 bytes"));
}

TEST_F(BluetoothFramesTest, ALengthOf65537FailsTheLinkBeforeItsBytesArrive) {
    receive({'d', 0, 1, 0, 1});
    EXPECT_EQ(bridge->state(), BtState::failed("bad frame from the phone"));
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_TRUE(channel->delegate.expired());
    loop.advance(3);
    EXPECT_EQ(pixel->queryCount, 2);
    EXPECT_EQ(bridge->state().menuTitle(), "Bluetooth: bad frame from the phone");
}

TEST_F(BluetoothFramesTest, TheNextLinkBeginsWithAnEmptyInbox) {
    receive({'H', 0, 0, 0, 1});
    channel->closedByPhone();
    bridge->rfcommChannelData(channel, bytesOf("\x05"));
    loop.advance(3);
    pixel->completeQuery();
    channel = pixel->lastChannel();
    receive(frame('H', "\x06"));
    EXPECT_FALSE(logged("Orvane: bridge v5"));
    EXPECT_TRUE(logged("Orvane: bridge v6"));
}

TEST_F(BluetoothFramesTest, AnUnknownTypeDiscardsTheFramesBehindIt) {
    receive(frame('P', "12") + frame('z') + frame('R'));
    EXPECT_EQ(bridge->state(), BtState::failed("unexpected data from the phone"));
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_TRUE(channel->pieces.empty());
    EXPECT_FALSE(logged("Orvane: link test started"));
}

TEST_F(BluetoothFramesTest, FramesGoOutInPiecesOfTheMtu) {
    channel->mtuValue = 4;
    receive(frame('E'));
    EXPECT_EQ(channel->pieces, (std::vector<Bytes>{{'e', 0, 0, 0}, {4, 0, 0, 0}, {0}}));
}

TEST_F(BluetoothFramesTest, AChannelThatTellsNoMtuTakesByteByByte) {
    channel->mtuValue = 0;
    receive(frame('R'));
    EXPECT_EQ(channel->pieces, (std::vector<Bytes>{{'r'}, {0}, {0}, {0}, {0}}));
}

TEST_F(BluetoothFramesTest, APieceMayBeExactlyTheMtu) {
    channel->mtuValue = 5;
    receive(frame('R'));
    EXPECT_EQ(channel->pieces, (std::vector<Bytes>{{'r', 0, 0, 0, 0}}));
}

TEST_F(BluetoothFramesTest, WhatThePhoneDoesNotTakeGoesOutInOrderOnceThereIsRoom) {
    channel->mtuValue = 4;
    channel->room = 3;
    receive(frame('R') + frame('E'));
    EXPECT_EQ(channel->pieces, (std::vector<Bytes>{{'r', 0, 0}}));
    channel->makeRoom(5);
    EXPECT_EQ(channel->pieces, (std::vector<Bytes>{{'r', 0, 0}, {0, 0, 'e', 0}, {0}}));
    channel->makeRoom(100);
    EXPECT_EQ(channel->takeWritten(), (Bytes{'r', 0, 0, 0, 0, 'e', 0, 0, 0, 4, 0, 0, 0, 0}));
}

TEST_F(BluetoothFramesTest, APhoneThatTakesNothingForTwoSecondsEndsTheLink) {
    channel->room = 3;
    receive(frame('R'));
    loop.advance(1.9);
    EXPECT_EQ(channel->closeCount, 0);
    loop.advance(0.2);
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_TRUE(logged("Orvane: the phone takes nothing any more"));
}

TEST_F(BluetoothFramesTest, APhoneThatTakesAByteNowAndThenKeepsTheLink) {
    channel->room = 0;
    receive(frame('E'));
    for (int i = 0; i < 8; ++i) {
        loop.advance(1.9);
        channel->makeRoom(1);
    }
    EXPECT_EQ(channel->closeCount, 0);
    channel->makeRoom(1);
    EXPECT_EQ(channel->takeWritten(), (Bytes{'e', 0, 0, 0, 4, 0, 0, 0, 0}));
    loop.advance(10);
    EXPECT_EQ(channel->closeCount, 0) << "nothing waits: nothing is missed";
}

TEST_F(BluetoothFramesTest, APhoneThatAsksAndDoesNotListenIsHeldBack) {
    channel->room = 0;
    for (int i = 0; i < 20'000 && channel->receiving; ++i)
        receive(frame('R'));
    EXPECT_FALSE(channel->receiving);
    channel->makeRoom(Outbox::fullSize / 2 - 5);
    EXPECT_FALSE(channel->receiving);
    channel->makeRoom(10);
    EXPECT_TRUE(channel->receiving);
}

TEST_F(BluetoothFramesTest, StoppingForgetsWhatWaits) {
    channel->room = 0;
    receive(frame('E'));
    bridge->stop();
    EXPECT_EQ(loop.timerCount(), 0U);
    EXPECT_EQ(channel->closeCount, 1);
}

}  // namespace orvane::test
