// Bytes that wait for room: their order, how many they may be, and when they have stalled.
#include "bluetooth/Outbox.h"
#include "support/BluetoothBridgeSetup.h"

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

namespace orvane::test {

class BluetoothOutboxTest : public testing::Test {
  protected:
    void push(const Bytes& bytes) {
        outbox.add(bytes);
        outbox.send();
    }

    TestRunLoop loop;
    std::size_t room = 0;
    Bytes taken;
    int stalledCount = 0;
    int roomCount = 0;
    int writeCount = 0;
    std::set<const std::uint8_t*> places;  ///< In memory, of what has been offered.
    std::optional<std::size_t> unread;
    Outbox outbox{loop,
                  loop,
                  {.write =
                       [this](std::span<const std::uint8_t> bytes) {
                           ++writeCount;
                           places.insert(bytes.data());
                           const std::size_t count = std::min(room, bytes.size());
                           taken.insert(taken.end(), bytes.begin(), bytes.begin() + static_cast<long>(count));
                           room -= count;
                           return count;
                       },
                   .unread = [this] { return unread; },
                   .hasRoom = [this] { ++roomCount; },
                   .stalled = [this] { ++stalledCount; }}};
};

TEST_F(BluetoothOutboxTest, WhatIsTakenAtOnceNeverWaits) {
    room = 100;
    push(bytesOf("hello"));
    EXPECT_EQ(taken, bytesOf("hello"));
    EXPECT_TRUE(outbox.isEmpty());
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(BluetoothOutboxTest, WhatIsAddedGoesOutInOneWrite) {
    room = 100;
    outbox.add(bytesOf("one, "));
    outbox.add(bytesOf("two, "));
    EXPECT_TRUE(taken.empty());
    push(bytesOf("three"));
    EXPECT_EQ(taken, bytesOf("one, two, three"));
    EXPECT_EQ(writeCount, 1);
    outbox.send();
    EXPECT_EQ(writeCount, 1) << "nothing to write";
}

TEST_F(BluetoothOutboxTest, KeepsTheOrderHoweverMuchIsTaken) {
    std::minstd_rand random(1);
    Bytes sent;
    for (int i = 0; i < 2000; ++i) {
        Bytes piece(random() % 300);
        std::ranges::generate(piece, [&] { return static_cast<std::uint8_t>(random() >> 8); });
        sent.insert(sent.end(), piece.begin(), piece.end());
        room += random() % 250;
        push(piece);
        if (random() % 2 == 0) outbox.flush();
    }
    room = sent.size();
    outbox.flush();
    EXPECT_TRUE(taken == sent);
    EXPECT_TRUE(outbox.isEmpty());
}

TEST_F(BluetoothOutboxTest, WhatHasBeenTakenLeavesItsPlaceToWhatComesNext) {
    for (int i = 0; i < 100; ++i) {
        room = 1000;
        push(Bytes(1000));
    }
    EXPECT_EQ(places.size(), 1U) << "no more memory than waits at a time";
}

TEST_F(BluetoothOutboxTest, WhatComesLaterDoesNotOvertakeWhatWaits) {
    push(bytesOf("first "));
    room = 3;
    push(bytesOf("second"));
    EXPECT_TRUE(taken.empty()) << "the room has not been announced yet";
    room = 100;
    outbox.flush();
    EXPECT_EQ(taken, bytesOf("first second"));
}

TEST_F(BluetoothOutboxTest, IsFullFromItsSizeOnUntilHalfOfItIsFree) {
    push(Bytes(Outbox::fullSize - 1));
    EXPECT_FALSE(outbox.isFull());
    push(Bytes(1));
    EXPECT_TRUE(outbox.isFull());
    room = Outbox::fullSize / 2 - 1;
    outbox.flush();
    EXPECT_TRUE(outbox.isFull());
    EXPECT_EQ(roomCount, 0);
    room = 1;
    outbox.flush();
    EXPECT_FALSE(outbox.isFull());
    EXPECT_EQ(roomCount, 1);
    room = Outbox::fullSize;
    outbox.flush();
    EXPECT_EQ(roomCount, 1) << "once";
}

TEST_F(BluetoothOutboxTest, RoomThatIsNotAnnouncedIsFoundBeforeItCountsAsStalled) {
    push(Bytes(Outbox::fullSize));
    for (int i = 0; i < 10; ++i) {
        room = 100;
        loop.advance(2);
    }
    EXPECT_EQ(stalledCount, 0);
    EXPECT_EQ(taken.size(), 1000U);
    room = Outbox::fullSize;
    loop.advance(2);
    EXPECT_TRUE(outbox.isEmpty());
    EXPECT_EQ(roomCount, 1);
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(BluetoothOutboxTest, StallsTwoSecondsAfterTheLastByteWasTaken) {
    push(Bytes(10));
    loop.advance(1.5);
    room = 1;
    outbox.flush();
    loop.advance(1.9);
    EXPECT_EQ(stalledCount, 0);
    push(Bytes(10));
    outbox.flush();
    loop.advance(0.2);
    EXPECT_EQ(stalledCount, 1) << "what is added is no movement";
    loop.advance(10);
    EXPECT_EQ(stalledCount, 1) << "once";
}

TEST_F(BluetoothOutboxTest, DoesNotStallWhileWhatWasTakenIsReadHoweverSlowly) {
    unread = 1000;
    push(Bytes(10));
    for (int i = 0; i < 10; ++i) {
        loop.advance(1.4);
        --*unread;
    }
    EXPECT_EQ(stalledCount, 0);
    loop.advance(2.4);
    EXPECT_EQ(stalledCount, 0) << "two seconds from where it was seen last";
    loop.advance(0.2);
    EXPECT_EQ(stalledCount, 1);
}

TEST_F(BluetoothOutboxTest, WhatWasUnreadWhenBytesWaitedBeforeIsForgotten) {
    unread = 1000;
    push(Bytes(10));
    loop.advance(0.6);
    room = 10;
    outbox.flush();
    unread = 500;
    push(Bytes(10));
    loop.advance(2.1);
    EXPECT_EQ(stalledCount, 1);
}

TEST_F(BluetoothOutboxTest, NothingIsLookedAtOnceTheLastByteIsTaken) {
    push(Bytes(1));
    EXPECT_EQ(loop.timerCount(), 1U);
    room = 1;
    outbox.flush();
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(BluetoothOutboxTest, WhatIsLeftUnreadWithoutAChangeIsNoMovement) {
    unread = 1000;
    push(Bytes(10));
    loop.advance(1.2);
    unread.reset();  // As when the system stops to say.
    loop.advance(0.7);
    EXPECT_EQ(stalledCount, 0);
    loop.advance(0.2);
    EXPECT_EQ(stalledCount, 1);
}

TEST_F(BluetoothOutboxTest, DoesNotStallOnceItIsEmpty) {
    push(Bytes(10));
    loop.advance(1.9);
    outbox.clear();
    EXPECT_TRUE(outbox.isEmpty());
    EXPECT_EQ(loop.timerCount(), 0U);
    push(Bytes(1));
    loop.advance(1.9);
    EXPECT_EQ(stalledCount, 0) << "counted anew";
}

}  // namespace orvane::test
