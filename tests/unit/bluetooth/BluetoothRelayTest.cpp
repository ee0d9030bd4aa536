// The relay between the phone and the server, on real loopback sockets and a real reader thread.
#include "bluetooth/LocalRelay.h"
#include "support/BluetoothBridgeSetup.h"
#include "support/OwnResources.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

namespace orvane::test {

namespace {

Bytes randomBytes(std::size_t size, unsigned seed) {
    std::minstd_rand random(seed);
    Bytes bytes(size);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random() >> 8); });
    return bytes;
}

/// What the data frames in `stream` carry, joined. Fails the test when anything else is in it.
Bytes payloadOfDataFrames(const Bytes& stream) {
    FrameReader reader;
    reader.append(stream);
    Bytes payload;
    while (true) {
        const auto next = reader.next();
        const auto* frame = std::get_if<BridgeFrame>(&next);
        if (!frame) break;
        EXPECT_EQ(frame->type, FrameType::data);
        EXPECT_GE(frame->payload.size(), 1U);
        EXPECT_LE(frame->payload.size(), 2048U);
        payload.insert(payload.end(), frame->payload.begin(), frame->payload.end());
    }
    EXPECT_EQ(std::get<FrameReader::Lack>(reader.next()), FrameReader::Lack::needMore);
    return payload;
}

}  // namespace

class BluetoothRelayTest : public BluetoothBridgeSetup, public testing::Test {
  protected:
    /// The usual way to a live link.
    ServerConnection attach() {
        if (!channel) openPixel();
        server.listen();
        receive(frame('A'));
        return server.accept();
    }
    /// Waits until that many blocks wait in the main queue, without running them.
    bool waitForPosted(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (loop.pendingCount() < count && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        return loop.pendingCount() >= count;
    }
    /// Connections that fill the server's queue, so that the next one is answered by nobody.
    std::vector<OwnedFd> fillQueueOfServer() {
        server.listen(1);  // Some systems take 0 for "as many as you like".
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(server.port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        std::vector<OwnedFd> queue;
        while (queue.size() < 10) {  // The kernel takes a few.
            queue.emplace_back(::socket(AF_INET, SOCK_STREAM, 0));
            ::fcntl(queue.back().get(), F_SETFL, O_NONBLOCK);
            ::connect(queue.back().get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
            pollfd entry{queue.back().get(), POLLOUT, 0};
            if (::poll(&entry, 1, 100) == 0) break;
        }
        return queue;
    }
    /// Waits until the reader threads have ended and what they posted has run.
    bool readersEnded() {
        if (!threads.waitForRunning(0)) return false;
        loop.runPending();
        return true;
    }
};

TEST_F(BluetoothRelayTest, AttachConnectsToTheServerAndIsLive) {
    ServerConnection connection = attach();
    EXPECT_TRUE(connection.isOpen());
    EXPECT_TRUE(logged("Orvane: engine attached, bridged into orvaned"));
    loop.runPending();
    EXPECT_EQ(heard, (std::vector{BtState::live("Pixel")}));
    EXPECT_EQ(threads.names, (std::vector<std::string>{"orvane.bt.local"}));
    EXPECT_TRUE(channel->pieces.empty());
}

TEST_F(BluetoothRelayTest, AServerThatIsNotRunningFailsTheAttachAndKeepsTheChannel) {
    openPixel();
    receive(frame('A'));
    EXPECT_EQ(bridge->state().menuTitle(), "Bluetooth: the receiver is not accepting connections");
    EXPECT_EQ(channel->closeCount, 0);
    EXPECT_TRUE(threads.names.empty());
}

TEST_F(BluetoothRelayTest, ThePhoneMayAttachAgainAfterAFailure) {
    openPixel();
    receive(frame('A'));
    const ServerConnection connection = attach();
    EXPECT_TRUE(connection.isOpen());
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
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

TEST_F(BluetoothRelayTest, ASecondAttachThatFailsHasClosedTheFirstConnection) {
    ServerConnection connection = attach();
    server = LoopbackBluetoothServer();  // Nobody listens at the port any more.
    receive(frame('A'));
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
    EXPECT_TRUE(connection.atEnd());
    EXPECT_TRUE(readersEnded());
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
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

TEST_F(BluetoothRelayTest, APhoneIsHeldBackWhileTheServerDoesNotReadAndNothingIsLost) {
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

TEST_F(BluetoothRelayTest, AServerThatReadsNothingForTwoSecondsIsGivenUp) {
    server.setReceiveBuffer(4096);
    const ServerConnection connection = attach();
    const Bytes audio = frame('d', std::string(65536, 'x'));
    for (int i = 0; i < 500 && channel->receiving; ++i)
        receive(audio);
    ASSERT_FALSE(channel->receiving);
    loop.advance(1.9);
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
    loop.advance(0.2);
    EXPECT_TRUE(channel->receiving) << "the phone may go on; what it sends is dropped";
    receive(audio);
    EXPECT_TRUE(waitForState(BtState::searching("Pixel")));
    EXPECT_EQ(channel->closeCount, 0);
}

TEST_F(BluetoothRelayTest, AServerThatReadsSlowlyIsNotGivenUpThoughNoRoomIsSeen) {
    std::size_t unread = 4'000'000;
    bridgeRoles.unreadBytes = [&](int) { return unread; };
    server.setReceiveBuffer(4096);
    const ServerConnection connection = attach();
    const Bytes audio = frame('d', std::string(65536, 'x'));
    for (int i = 0; i < 500 && channel->receiving; ++i)
        receive(audio);
    ASSERT_FALSE(channel->receiving);
    for (int second = 0; second < 20; ++second) {
        unread -= 100;
        loop.advance(1);
    }
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
    EXPECT_FALSE(channel->receiving);
    loop.advance(2.1);
    EXPECT_TRUE(channel->receiving) << "given up in the end";
}

TEST_F(BluetoothRelayTest, TheReaderIsHeldBackWhileThePhoneIsBehindAndNothingIsLost) {
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

TEST_F(BluetoothRelayTest, AReaderReadsNothingFurtherForAPhoneThatIsBehind) {
    ServerConnection connection = attach();
    channel->room = 0;
    threads.start("server", [&] { connection.write(Bytes(8'000'000, 'x')); });
    ASSERT_TRUE(
        eventually([&] { return loop.timerCount() == 2; }));  // The tick, and what waits for the phone.
    std::size_t blocks = 0;
    for (int quiet = 0; quiet < 10; ++quiet) {
        if (loop.pendingCount() > 0) quiet = 0;
        blocks += loop.pendingCount();
        loop.runPending();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_LE(blocks, Outbox::fullSize / 1000 + LocalReader::maxWaiting);
    channel->closedByPhone();
    EXPECT_TRUE(readersEnded());  // The server's writing ends with the connection.
    connection.close();
}

TEST_F(BluetoothRelayTest, AServerThatDoesNotAcceptHoldsUpNobodyAndIsGivenUpAfterTwoSeconds) {
    openPixel();
    const auto queue = fillQueueOfServer();
    receive(frame('A') + frame('d', "lost") + frame('H', "\x04"));
    EXPECT_FALSE(channel->receiving);
    EXPECT_FALSE(logged("Orvane: bridge v4")) << "what is behind the attach waits for its end";
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    loop.advance(1.9);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    loop.advance(0.1);
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
    EXPECT_TRUE(logged("Orvane: bridge v4"));
    EXPECT_TRUE(channel->receiving);
    EXPECT_EQ(loop.watchCount(), 0U);
}

TEST_F(BluetoothRelayTest, AServerThatAcceptsLateGetsWhatWasSentMeanwhile) {
    openPixel();
    auto queue = fillQueueOfServer();
    receive(frame('A') + frame('d', "held back"));
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    for (std::size_t i = 0; i < queue.size(); ++i)
        server.accept();
    queue.clear();
    EXPECT_TRUE(waitForState(BtState::live("Pixel")));
    ServerConnection connection = server.accept();
    while (connection.isOpen() && connection.read(9) != bytesOf("held back"))
        connection = server.accept();
    EXPECT_TRUE(connection.isOpen());
    EXPECT_TRUE(channel->receiving);
}

TEST_F(BluetoothRelayTest, AChannelThatClosesWhileTheServerIsConnectedToEndsThat) {
    openPixel();
    const auto queue = fillQueueOfServer();
    receive(frame('A'));
    channel->closedByPhone();
    EXPECT_EQ(loop.watchCount(), 0U);
    loop.advance(2.5);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothRelayTest, NothingGoesToAnotherUsersProgramAtTheServersPort) {
    std::uint16_t asked = 0;
    bridgeRoles.isOurPort = [&](std::uint16_t port) {
        asked = port;
        return false;
    };
    server.listen();
    openPixel();
    for (int i = 0; i < 2; ++i)
        receive(frame('A') + frame('d', "secret"));
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
    EXPECT_EQ(std::ranges::count(roles.systemLog.lines,
                                 "Orvane: no program of this user listens at orvaned's port"),
              1);
    EXPECT_TRUE(server.accept().atEnd());
    EXPECT_EQ(asked, server.port());
}

TEST_F(BluetoothRelayTest, APhoneThatAttachesAllTheTimeIsHeldBack) {
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

TEST_F(BluetoothRelayTest, WithoutAThreadTheServerCountsAsRefusingAndItIsSaidOnce) {
    const BluetoothBridge::Roles held{loop,     loop, roles.threads, roles.userDefaults, roles.systemLog,
                                      bluetooth};
    addPixel();
    roles.userDefaults.setString(pixelAddress, "btDevice");
    roles.threads.hasThreads = false;
    server.listen();
    bridge = std::make_shared<BluetoothBridge>(held, server.port());
    start();
    pixel->completeQuery();
    for (int i = 0; i < 3; ++i)
        pixel->lastChannel()->receive(frame('A'));
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
    EXPECT_EQ(
        std::ranges::count(roles.systemLog.lines, "Orvane: no thread is left for a connection into orvaned"),
        1);
    EXPECT_TRUE(server.accept().atEnd());
}

TEST_F(BluetoothRelayTest, WithoutADescriptorTheServerCountsAsRefusingAndItIsSaidOnce) {
    openPixel();
    server.listen();
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const OwnedFd next(::dup(0));
    for (const rlim_t more : {0, 1}) {  // Neither the socket nor, at the second turn, the reader's duplicate.
        rlimit none = before;
        none.rlim_cur = static_cast<rlim_t>(next.get()) + 1 + more;
        ::setrlimit(RLIMIT_NOFILE, &none);
        receive(frame('A') + frame('A'));
        ::setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
        loop.advance(0.05);
    }
    EXPECT_EQ(std::ranges::count(roles.systemLog.lines,
                                 "Orvane: no descriptor is left for a connection into orvaned"),
              1);
    receive(frame('A'));
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
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

TEST_F(BluetoothRelayTest, APausedReaderEndsWithTheLink) {
    ServerConnection connection = attach();
    loop.runPending();
    threads.start("server", [&] { connection.write(Bytes(8'000'000, 'x')); });
    ASSERT_TRUE(waitForPosted(LocalReader::maxWaiting));
    channel->closedByPhone();
    EXPECT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    EXPECT_TRUE(channel->pieces.empty());
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
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_TRUE(eventually([&] { return runningThreads() == tasks; }));
}

}  // namespace orvane::test
