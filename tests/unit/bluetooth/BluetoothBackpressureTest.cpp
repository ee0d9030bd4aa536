// The relay when one side takes less than the other brings: whoever brings too much is held back.
#include "unit/bluetooth/BluetoothRelayFixture.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace orvane::test {

class BluetoothBackpressureTest : public BluetoothRelayFixture {
  protected:
    /// True once the phone is not read any further.
    bool sendsUntilHeldBack() {
        for (int i = 0; i < 500 && channel->receiving; ++i)
            receive(audio);
        return !channel->receiving;
    }

    const Bytes audio = frame('d', std::string(65536, 'x'));
};

TEST_F(BluetoothBackpressureTest, APhoneIsHeldBackWhileTheServerDoesNotReadAndNothingIsLost) {
    server.setReceiveBuffer(4096);
    ServerConnection connection = attach();
    const Bytes sent = randomBytes(20'000'000, 6);
    std::size_t at = 0;
    const auto sendMore = [&] {
        for (; channel->receiving && at < sent.size(); at += 50'000)
            receive(encodeFrame(FrameType::data, std::span(sent).subspan(at, 50'000)));
    };
    sendMore();
    ASSERT_LT(at, sent.size()) << "the kernel has taken everything";
    loop.runPending();
    EXPECT_FALSE(channel->receiving);

    Bytes read;
    threads.start("server", [&] { read = connection.read(sent.size()); });
    EXPECT_TRUE(eventually([&] {
        sendMore();
        return at >= sent.size();
    }));
    EXPECT_TRUE(eventually([&] { return loop.watchCount() == 0; }));
    ASSERT_TRUE(threads.waitForRunning(1));
    EXPECT_TRUE(read == sent);
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
}

TEST_F(BluetoothBackpressureTest, APhoneThatBringsTooMuchAtOnceIsHeldBackAtOnce) {
    server.setReceiveBuffer(4096);
    const ServerConnection connection = attach();
    Bytes frames;
    for (int i = 0; i < 300; ++i)
        frames.insert(frames.end(), audio.begin(), audio.end());
    receive(frames);
    EXPECT_FALSE(channel->receiving);
}

TEST_F(BluetoothBackpressureTest, APhoneThatWasHeldBackIsReadAgainWhenTheServerHasGone) {
    server.setReceiveBuffer(4096);
    ServerConnection connection = attach();
    ASSERT_TRUE(sendsUntilHeldBack());
    connection.close();
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_TRUE(channel->receiving);
}

TEST_F(BluetoothBackpressureTest, APhoneThatWasHeldBackIsReadAgainWhenTheServerSaysNothingMore) {
    server.setReceiveBuffer(4096);
    const ServerConnection connection = attach();
    ASSERT_TRUE(sendsUntilHeldBack());
    ::shutdown(connection.fd(), SHUT_WR);  // What the phone sent still waits for it to read.
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_TRUE(channel->receiving);
}

TEST_F(BluetoothBackpressureTest, APhoneThatTakesTooLittleOfTheServersIsNotReadEither) {
    ServerConnection connection = attach();
    channel->room = 0;
    ASSERT_TRUE(connection.write(Bytes(Outbox::fullSize)));
    EXPECT_TRUE(eventually([this] { return !channel->receiving; }));
}

TEST_F(BluetoothBackpressureTest, ARelayIsWatchedNoLongerOnceAllIsWritten) {
    server.listen();
    server.setReceiveBuffer(4096);
    LocalRelay relay(makeServerSocket(), {loop, loop, threads},
                     {.connected = [](LocalRelay::Connecting) {},
                      .hasRoom = [] {},
                      .reader = {[](std::span<const std::uint8_t>, bool) {}, [] {}},
                      .isWanted = [] { return true; }});
    ASSERT_EQ(relay.connect(server.port()), LocalRelay::Connecting::done);
    ServerConnection connection = server.accept();
    const Bytes sent(20'000'000, 'x');
    relay.add(sent);
    relay.send();
    ASSERT_EQ(loop.watchCount(), 1U);
    threads.start("server", [&] { connection.read(sent.size()); });
    EXPECT_TRUE(eventually([&] { return loop.watchCount() == 0; }));
    EXPECT_FALSE(relay.isFull());
    ASSERT_TRUE(threads.waitForRunning(1));
}

TEST_F(BluetoothBackpressureTest, ARelayWhoseServerTakesNothingMoreIsEmptyWhenItTellsOfRoom) {
    server.listen();
    server.setReceiveBuffer(4096);
    int room = 0;
    bool isFull = true;
    std::unique_ptr<LocalRelay> relay;
    LocalRelay::Handlers handlers{.connected = [](LocalRelay::Connecting) {},
                                  .hasRoom = [&] { isFull = relay->isFull(), ++room; },
                                  .reader = {[](std::span<const std::uint8_t>, bool) {}, [] {}},
                                  .isWanted = [] { return true; }};
    relay =
        std::make_unique<LocalRelay>(makeServerSocket(), LocalRelay::Roles{loop, loop, threads}, handlers);
    ASSERT_EQ(relay->connect(server.port()), LocalRelay::Connecting::done);
    const ServerConnection connection = server.accept();
    relay->add(Bytes(20'000'000));
    relay->send();
    ASSERT_TRUE(relay->isFull());
    EXPECT_EQ(loop.watchCount(), 1U);
    loop.advance(2.5);
    EXPECT_EQ(room, 1);
    EXPECT_FALSE(isFull);
    EXPECT_EQ(loop.watchCount(), 0U);
    relay.reset();
    EXPECT_TRUE(readersEnded());
}

TEST_F(BluetoothBackpressureTest, AConnectionThatTakesNothingAnyMoreEndsWithItsReader) {
    server.listen();
    int ends = 0;
    LocalRelay::Handlers handlers{.connected = [](LocalRelay::Connecting) {},
                                  .hasRoom = [] {},
                                  .reader = {[](std::span<const std::uint8_t>, bool) {}, [&] { ++ends; }},
                                  .isWanted = [] { return true; }};
    LocalRelay relay(makeServerSocket(), {loop, loop, threads}, handlers);
    ASSERT_EQ(relay.connect(server.port()), LocalRelay::Connecting::done);
    const ServerConnection connection = server.accept();
    ::shutdown(relay.fd(), SHUT_WR);
    relay.add(Bytes(Outbox::fullSize));
    relay.send();
    EXPECT_FALSE(relay.isFull());
    EXPECT_TRUE(eventually([&] { return ends == 1; }));
}

TEST_F(BluetoothBackpressureTest, ASocketThatCannotConnectAtAllIsNotWaitedFor) {
    LocalRelay relay(Descriptor(::socket(AF_UNIX, SOCK_STREAM, 0)), {loop, loop, threads},
                     {.connected = [](LocalRelay::Connecting) {},
                      .hasRoom = [] {},
                      .reader = {[](std::span<const std::uint8_t>, bool) {}, [] {}},
                      .isWanted = [] { return true; }});
    EXPECT_EQ(relay.connect(server.port()), LocalRelay::Connecting::failed);
}

TEST_F(BluetoothBackpressureTest, AServerThatReadsNothingForTwoSecondsIsGivenUp) {
    server.setReceiveBuffer(4096);
    const ServerConnection connection = attach();
    ASSERT_TRUE(sendsUntilHeldBack());
    loop.advance(1.9);
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
    // An acknowledgement that comes late makes room once more: then the two seconds begin anew.
    for (int i = 0; i < 12 && !channel->receiving; ++i)
        loop.advance(0.2);
    EXPECT_TRUE(channel->receiving) << "the phone may go on; what it sends is dropped";
    receive(audio);
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_EQ(channel->closeCount, 0);
}

TEST_F(BluetoothBackpressureTest, AServerThatReadsSlowlyIsNotGivenUpThoughNoRoomIsSeen) {
    std::size_t unread = 4'000'000;
    bridgeRoles.unreadBytes = [&](int) { return unread; };
    server.setReceiveBuffer(4096);
    const ServerConnection connection = attach();
    ASSERT_TRUE(sendsUntilHeldBack());
    for (int second = 0; second < 20; ++second) {
        unread -= 100;
        loop.advance(1);
    }
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
    EXPECT_FALSE(channel->receiving);
    loop.advance(2.1);
    EXPECT_TRUE(channel->receiving) << "given up in the end";
}

TEST_F(BluetoothBackpressureTest, TheReaderIsHeldBackWhileThePhoneIsBehindAndNothingIsLost) {
    ServerConnection connection = attach();
    channel->room = 0;
    const Bytes sent = randomBytes(3'000'000, 7);
    threads.start("server", [&] { connection.write(sent); });
    std::size_t most = 0;
    Bytes received;
    EXPECT_TRUE(eventually([&] {
        loop.runPending();
        channel->makeRoom(100'000);
        const Bytes written = channel->takeWritten();
        most = std::max(most, written.size());
        received.insert(received.end(), written.begin(), written.end());
        return received.size() >= sent.size() + sent.size() / 2048 * 5;
    }));
    EXPECT_TRUE(payloadOfDataFrames(received) == sent);
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
}

TEST_F(BluetoothBackpressureTest, AReaderReadsNothingFurtherForAPhoneThatIsBehind) {
    ServerConnection connection = attach();
    channel->room = 0;
    constexpr std::size_t mostTheKernelKeeps = 8'000'000;
    std::atomic<std::size_t> written = 0;
    threads.start("server", [&] {
        const Bytes piece(10'000, 'x');
        while (written < 4 * mostTheKernelKeeps && connection.write(piece))
            written += piece.size();
    });
    ASSERT_TRUE(
        eventually([&] { return loop.timerCount() == 2; }));  // The tick, and what waits for the phone.
    for (int quiet = 0; quiet < 10; ++quiet) {
        if (loop.pendingCount() > 0) quiet = 0;
        loop.runPending();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_LE(written,
              Outbox::fullSize + LocalReader::maxWaiting * LocalReader::chunkSize + mostTheKernelKeeps);
    channel->closedByPhone();
    EXPECT_TRUE(readersEnded());  // The server's writing ends with the connection.
    connection.close();
}

TEST_F(BluetoothBackpressureTest, APhoneThatAttachesAllTheTimeIsHeldBack) {
    int attaches = 0;
    bridgeRoles.isOurPort = [&](std::uint16_t) {
        ++attaches;
        return false;
    };
    server.listen();
    openPixel();
    Bytes frames;
    for (int i = 0; i < 6; ++i)
        frames = frames + frame('A') + frame('D');
    receive(frames);
    loop.runPending();
    EXPECT_EQ(attaches, 2);
    EXPECT_FALSE(channel->receiving);
    loop.advance(0.05);
    EXPECT_EQ(attaches, 4);
    loop.advance(0.2);
    EXPECT_EQ(attaches, 6);
    EXPECT_TRUE(channel->receiving);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothBackpressureTest, APausedReaderEndsWithTheLink) {
    ServerConnection connection = attach();
    loop.runPending();
    threads.start("server", [&] { connection.write(Bytes(8'000'000, 'x')); });
    ASSERT_TRUE(waitForPosted(LocalReader::maxWaiting / LocalReader::chunksAtOnce));
    channel->closedByPhone();
    EXPECT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    EXPECT_TRUE(channel->pieces.empty());
}

}  // namespace orvane::test
