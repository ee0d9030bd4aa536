// The relay between the phone and the server: what reaches the other side, and how it ends.
#include "support/OwnResources.h"
#include "unit/bluetooth/BluetoothRelayFixture.h"

#include <thread>

#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace orvane::test {

class BluetoothRelayTest : public BluetoothRelayFixture {};

TEST_F(BluetoothRelayTest, AttachConnectsToTheServerAndIsLive) {
    ServerConnection connection = attach();
    EXPECT_TRUE(connection.isOpen());
    EXPECT_TRUE(logged("Orvane: engine attached, bridged into orvaned"));
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::live("Pixel")}));
    EXPECT_EQ(threads.names, (std::vector<std::string>{"orvane.bt.local"}));
    EXPECT_TRUE(channel->pieces.empty());
}

TEST_F(BluetoothRelayTest, BytesReachTheServerUnchangedHoweverTheyAreFramed) {
    ServerConnection connection = attach();
    const Bytes sent = randomBytes(200'000, 1);
    std::size_t at = 0;
    for (const std::size_t size : {1U, 0U, 640U, 2048U, 65536U, 31U}) {
        receive(encodeFrame(FrameType::data, std::span(sent).subspan(at, size)));
        at += size;
    }
    EXPECT_EQ(connection.read(at), Bytes(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(at)));
}

TEST_F(BluetoothRelayTest, BytesOfTheServerReachThePhoneUnchangedAsDataFrames) {
    ServerConnection connection = attach();
    const Bytes sent = randomBytes(100'000, 2);
    ASSERT_TRUE(connection.write(sent));
    Bytes written;
    EXPECT_TRUE(eventually([&] {
        written = written + channel->takeWritten();
        return payloadOfDataFrames(written).size() >= sent.size();
    }));
    EXPECT_EQ(payloadOfDataFrames(written), sent);
}

TEST_F(BluetoothRelayTest, WhatTheServerWroteTogetherGoesOutTogetherInFramesOfAtMost2048Bytes) {
    openPixel();
    channel->mtuValue = 65536;
    ServerConnection connection = attach();
    const std::string answer(5000, 'x');
    ASSERT_TRUE(connection.write(bytesOf(answer)));
    ASSERT_TRUE(eventually([&] { return !channel->pieces.empty(); }));
    ASSERT_EQ(channel->pieces.size(), 1U);
    EXPECT_EQ(channel->takeWritten(), frame('d', answer.substr(0, 2048)) +
                                          frame('d', answer.substr(0, 2048)) +
                                          frame('d', answer.substr(0, 904)));
}

TEST_F(BluetoothRelayTest, AnAnswerOf300BytesGoesOutInPiecesOf127And127And51) {
    openPixel();
    channel->mtuValue = 127;
    ServerConnection connection = attach();
    ASSERT_TRUE(connection.write(Bytes(300, 'x')));
    ASSERT_TRUE(eventually([&] { return channel->pieces.size() >= 3; }));
    ASSERT_EQ(channel->pieces.size(), 3U);
    EXPECT_EQ(channel->pieces[0].size(), 127U);
    EXPECT_EQ(channel->pieces[1].size(), 127U);
    EXPECT_EQ(channel->pieces[2].size(), 51U);
    EXPECT_EQ(channel->takeWritten(), frame('d', std::string(300, 'x')));
}

TEST_F(BluetoothRelayTest, DetachClosesTheConnectionAndKeepsTheChannel) {
    ServerConnection connection = attach();
    receive(frame('d', "last words") + frame('D'));
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    EXPECT_TRUE(logged("Orvane: engine detached"));
    EXPECT_EQ(connection.read(10), bytesOf("last words"));
    EXPECT_TRUE(connection.atEnd());
    EXPECT_EQ(channel->closeCount, 0);
    EXPECT_TRUE(readersEnded());
}

TEST_F(BluetoothRelayTest, DataGoesToTheConnectionThatThereWasWhenItCame) {
    ServerConnection first = attach();
    receive(frame('d', "to the ") + frame('d', "first") + frame('A') + frame('d', "to the second"));
    ServerConnection second = server.accept();
    EXPECT_EQ(first.read(12), bytesOf("to the first"));
    EXPECT_TRUE(first.atEnd());
    EXPECT_EQ(second.read(13), bytesOf("to the second"));
}

TEST_F(BluetoothRelayTest, DataBeforeAMistakeOfThePhonesReachesTheServer) {
    for (const Bytes& mistake : {frame('?'), Bytes{'d', 0, 1, 0, 1}}) {
        ServerConnection connection = attach();
        receive(frame('d', "last words") + mistake);
        EXPECT_EQ(connection.read(10), bytesOf("last words"));
        EXPECT_TRUE(connection.atEnd());
        EXPECT_TRUE(readersEnded());
        channel.reset();
    }
}

TEST_F(BluetoothRelayTest, TheServersConnectionEndsBeforeTheChannel) {
    ServerConnection connection = attach();
    bool hasEnded = false;
    channel->onClose = [&](const TestRfcommChannel&) { hasEnded = connection.atEnd(); };
    channel->closedByPhone();
    EXPECT_TRUE(hasEnded);
}

TEST_F(BluetoothRelayTest, DataAfterADetachIsDropped) {
    ServerConnection connection = attach();
    receive(frame('D') + frame('d', "too late"));
    EXPECT_TRUE(connection.atEnd());
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothRelayTest, ADetachInMidFlightSendsNothingThatIsReadAfterIt) {
    ServerConnection connection = attach();
    receive(frame('D'));
    connection.write(Bytes(5000, 'x'));
    EXPECT_TRUE(readersEnded());
    EXPECT_TRUE(channel->pieces.empty());
}

TEST_F(BluetoothRelayTest, TheServerClosingTheConnectionGoesBackToSearchingAndKeepsTheChannel) {
    ServerConnection connection = attach();
    connection.close();
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_EQ(bridge->state().menuTitle(), "Bluetooth: looking for Pixel\u2026");
    EXPECT_EQ(channel->closeCount, 0);

    const ServerConnection next = attach();
    EXPECT_TRUE(next.isOpen());
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
}

TEST_F(BluetoothRelayTest, WhatTheServerWroteBeforeItClosedStillReachesThePhone) {
    ServerConnection connection = attach();
    const Bytes sent = randomBytes(50'000, 3);
    ASSERT_TRUE(connection.write(sent));
    connection.close();
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_EQ(payloadOfDataFrames(channel->takeWritten()), sent);
}

TEST_F(BluetoothRelayTest, TwoAttachesInARowReplaceTheConnectionAndTheFirstReaderChangesNothing) {
    openPixel();
    server.listen();
    receive(frame('A') + frame('A'));
    ServerConnection first = server.accept();
    ServerConnection second = server.accept();
    ASSERT_TRUE(second.isOpen());
    EXPECT_TRUE(first.atEnd());
    ASSERT_TRUE(threads.waitForRunning(1));
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::live("Pixel")}));

    loop.advance(0.05);  // The rest after two attaches in a row.
    receive(frame('d', "hello"));
    EXPECT_EQ(second.read(5), bytesOf("hello"));
    ASSERT_TRUE(second.write(bytesOf("answer")));
    EXPECT_TRUE(eventually([&] { return !channel->pieces.empty(); }));
    EXPECT_EQ(channel->takeWritten(), frame('d', "answer"));
}

TEST_F(BluetoothRelayTest, AReadersEndClosesANewConnectionThatWasGivenTheSameNumber) {
    ServerConnection first = attach();
    loop.runPending();
    receive(frame('D') + frame('A'));  // The detach frees the number, the attach takes it again.
    ServerConnection second = server.accept();
    ASSERT_TRUE(second.isOpen());
    ASSERT_EQ(bridge->state(), BtState::live("Pixel"));
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_TRUE(second.atEnd());
    EXPECT_TRUE(readersEnded());
}

TEST_F(BluetoothRelayTest, BytesReadAndPostedBeforeATeardownAreDropped) {
    ServerConnection connection = attach();
    loop.runPending();
    ASSERT_TRUE(connection.write(bytesOf("too late")));
    ASSERT_TRUE(waitForPosted(1));
    channel->closedByPhone();
    EXPECT_TRUE(readersEnded());
    EXPECT_TRUE(channel->pieces.empty());
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothRelayTest, BytesReadAfterTheChannelIsGoneAreDroppedByTheReader) {
    ServerConnection connection = attach();
    channel->closedByPhone();
    connection.write(bytesOf("too late"));
    ASSERT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    EXPECT_TRUE(channel->pieces.empty());
    EXPECT_TRUE(connection.atEnd());
}

TEST_F(BluetoothRelayTest, ChoosingOffWhileLiveEndsTheLink) {
    ServerConnection connection = attach();
    bridge->choose(std::nullopt);
    EXPECT_EQ(bridge->state().menuTitle(), "Bluetooth: choose a phone\u2026");
    EXPECT_TRUE(connection.atEnd());
    EXPECT_EQ(channel->closeCount, 1);
    EXPECT_TRUE(readersEnded());
    EXPECT_EQ(bridge->state(), BtState::noDevice);
}

TEST_F(BluetoothRelayTest, ALiveLinkThatFailsShowsTheFailure) {
    ServerConnection connection = attach();
    receive({'d', 0, 1, 0, 1});
    EXPECT_TRUE(connection.atEnd());
    EXPECT_TRUE(readersEnded());
    EXPECT_EQ(heard, (std::vector{BtState::live("Pixel"), BtState::failed("bad frame from the phone")}));
}

TEST_F(BluetoothRelayTest, StoppingEndsTheConnectionAndTheReader) {
    ServerConnection connection = attach();
    bridge->stop();
    EXPECT_TRUE(connection.atEnd());
    EXPECT_TRUE(readersEnded());
    EXPECT_EQ(bridge->state(), BtState::off);
}

TEST_F(BluetoothRelayTest, TheBridgeMayGoWhileAReaderRuns) {
    ServerConnection connection = attach();
    bridge.reset();
    EXPECT_TRUE(connection.atEnd());
    EXPECT_TRUE(readersEnded());
}

TEST_F(BluetoothRelayTest, AThreadThatStartsAfterTheBridgeIsGoneReadsNothing) {
    const BluetoothBridge::Roles held{loop,     loop, roles.threads, roles.userDefaults, roles.systemLog,
                                      bluetooth};
    addPixel();
    roles.userDefaults.setString(pixelAddress, "btDevice");
    server.listen();
    bridge = std::make_shared<BluetoothBridge>(held, server.port());
    start();
    pixel->completeQuery();
    pixel->lastChannel()->receive(frame('A'));
    ServerConnection connection = server.accept();
    ASSERT_EQ(roles.threads.started.size(), 1U);
    bridge.reset();
    loop.runPending();
    roles.threads.started[0].second();
    EXPECT_EQ(loop.pendingCount(), 0U);
    EXPECT_TRUE(connection.atEnd());
}

TEST_F(BluetoothRelayTest, ADeadServerDoesNotKillTheProgram) {
    ServerConnection connection = attach();
    const linger abort{1, 0};  // Closing resets the connection.
    ::setsockopt(connection.fd(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    connection.close();
    for (int i = 0; i < 10; ++i)
        receive(frame('d', std::string(1000, 'x')));
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_EQ(channel->closeCount, 0);
}

TEST_F(BluetoothRelayTest, TheServersSocketIsBlockingAndWithoutDelayAndNotInherited) {
    server.listen();
    LocalRelay::Handlers handlers;
    handlers.isWanted = [] { return false; };
    LocalRelay relay(makeServerSocket(), {loop, loop, threads}, std::move(handlers));
    ASSERT_EQ(relay.connect(server.port()), LocalRelay::Connecting::done);
    EXPECT_EQ(::fcntl(relay.fd(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(::fcntl(relay.fd(), F_GETFD), FD_CLOEXEC);
    int noDelay = 0;
    socklen_t size = sizeof noDelay;
    ASSERT_EQ(::getsockopt(relay.fd(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size), 0);
    EXPECT_NE(noDelay, 0);
}

TEST_F(BluetoothRelayTest, AThousandRoundsLeaveNoDescriptorAndNoThreadBehind) {
    openPixel();
    server.listen();
    std::thread([] {}).join();  // A sanitizer starts a thread of its own with the first one.
    const auto descriptors = openDescriptors();
    const auto tasks = runningThreads();
    const Bytes ping = randomBytes(640, 5);
    for (int round = 0; round < 1000; ++round) {
        receive(frame('A'));
        ServerConnection connection = server.accept();
        receive(encodeFrame(FrameType::data, ping));
        ASSERT_EQ(connection.read(ping.size()), ping) << round;
        ASSERT_TRUE(connection.write(ping));
        switch (round % 5) {
            case 0:  // The answer arrives, the phone detaches.
                ASSERT_TRUE(eventually([&] { return channel->takeWritten().size() == 5 + ping.size(); }));
                receive(frame('D'));
                break;
            case 1:  // The phone detaches at once.
                receive(frame('D'));
                break;
            case 2:  // The server closes.
                connection.close();
                ASSERT_TRUE(waitForState(BtState::searching("Pixel"))) << round;
                break;
            case 3:  // The phone attaches again.
                receive(frame('A') + frame('D'));
                ASSERT_TRUE(server.accept().isOpen());
                break;
            case 4:  // The channel goes and comes back.
                channel->closedByPhone();
                bridge->sdpQueryComplete(pixel, 0);
                channel = pixel->lastChannel();
                channel->openComplete();
                break;
        }
        ASSERT_TRUE(readersEnded()) << round;
        channel->takeWritten();
        pixel->channels = {channel};
    }
    EXPECT_LE(openDescriptors(), descriptors);
    EXPECT_TRUE(eventually([&] { return runningThreads() <= tasks; }));
}

}  // namespace orvane::test
