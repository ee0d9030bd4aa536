// The relay when there is no way into the server: nobody accepts, or the system lacks what it takes.
#include "support/OwnResources.h"
#include "unit/bluetooth/BluetoothRelayFixture.h"

#include <algorithm>

#include <sys/resource.h>

namespace orvane::test {

class BluetoothAttachFailureTest : public BluetoothRelayFixture {
  protected:
    /// The server takes whoever waits in the queue, which it has filled.
    void acceptLate(std::vector<OwnedFd>& queue) {
        for (std::size_t i = 0; i < queue.size(); ++i)
            server.accept();
        queue.clear();
    }
    /// While this process may open so many descriptors more.
    void receiveWithDescriptors(rlim_t count, const Bytes& bytes) {
        rlimit before{};
        ::getrlimit(RLIMIT_NOFILE, &before);
        const OwnedFd next(::dup(0));
        rlimit few = before;
        few.rlim_cur = static_cast<rlim_t>(next.get()) + 1 + count;
        ::setrlimit(RLIMIT_NOFILE, &few);
        receive(bytes);
        ::setrlimit(RLIMIT_NOFILE, &before);
    }
};

TEST_F(BluetoothAttachFailureTest, AServerThatIsNotRunningFailsTheAttachAndKeepsTheChannel) {
    openPixel();
    const std::size_t descriptors = openDescriptors();
    receive(frame('A'));
    EXPECT_EQ(bridge->state().menuTitle(), "Bluetooth: the receiver is not accepting connections");
    EXPECT_LE(openDescriptors(), descriptors);
    EXPECT_EQ(channel->closeCount, 0);
    EXPECT_TRUE(threads.names.empty());
}

TEST_F(BluetoothAttachFailureTest, ThePhoneMayAttachAgainAfterAFailure) {
    openPixel();
    receive(frame('A'));
    const ServerConnection connection = attach();
    EXPECT_TRUE(connection.isOpen());
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
}

TEST_F(BluetoothAttachFailureTest, ASecondAttachThatFailsHasClosedTheFirstConnection) {
    ServerConnection connection = attach();
    server = LoopbackBluetoothServer();  // Nobody listens at the port any more.
    receive(frame('A'));
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
    EXPECT_TRUE(connection.atEnd());
    EXPECT_TRUE(readersEnded());
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
}

TEST_F(BluetoothAttachFailureTest, AServerThatDoesNotAcceptHoldsUpNobodyAndIsGivenUpAfterTwoSeconds) {
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

TEST_F(BluetoothAttachFailureTest, AServerThatAcceptsLateGetsWhatWasSentMeanwhile) {
    openPixel();
    auto queue = fillQueueOfServer();
    receive(frame('A') + frame('d', "held back"));
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
    acceptLate(queue);
    EXPECT_TRUE(waitForState(BtState::live("Pixel")));
    ServerConnection connection = server.accept();
    while (connection.isOpen() && connection.read(9) != bytesOf("held back"))
        connection = server.accept();
    EXPECT_TRUE(connection.isOpen());
    EXPECT_TRUE(channel->receiving);
}

TEST_F(BluetoothAttachFailureTest, AServerThatAcceptsLateIsConnectedToOnceAndForGood) {
    openPixel();
    auto queue = fillQueueOfServer();
    receive(frame('A'));
    acceptLate(queue);
    EXPECT_TRUE(waitForState(BtState::live("Pixel")));
    EXPECT_EQ(loop.watchCount(), 0U);
    loop.advance(3);
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
    EXPECT_EQ(std::ranges::count(roles.systemLog.lines, "Orvane: engine attached, bridged into orvaned"), 1);
}

TEST_F(BluetoothAttachFailureTest, WhatIsBehindAnAttachComesAfterItAlsoWhenTheServerAcceptsLate) {
    openPixel();
    auto queue = fillQueueOfServer();
    receive(frame('A') + frame('D'));
    acceptLate(queue);
    EXPECT_TRUE(eventually([this] { return logged("Orvane: engine detached"); }));
    EXPECT_EQ(roles.systemLog.lines.back(), "Orvane: engine detached");
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothAttachFailureTest, AChannelThatClosesWhileTheServerIsConnectedToEndsThat) {
    openPixel();
    const auto queue = fillQueueOfServer();
    receive(frame('A'));
    channel->closedByPhone();
    EXPECT_EQ(loop.watchCount(), 0U);
    loop.advance(2.5);
    EXPECT_EQ(bridge->state(), BtState::searching("Pixel"));
}

TEST_F(BluetoothAttachFailureTest, NothingGoesToAnotherUsersProgramAtTheServersPort) {
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

TEST_F(BluetoothAttachFailureTest, WithoutAThreadTheServerCountsAsRefusingAndItIsSaidOnce) {
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

TEST_F(BluetoothAttachFailureTest, WithoutADescriptorForTheReaderAloneTheServerCountsAsRefusing) {
    openPixel();
    server.listen();
    receiveWithDescriptors(1, frame('A'));
    EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
    EXPECT_TRUE(logged("Orvane: no descriptor is left for a connection into orvaned"));
}

TEST_F(BluetoothAttachFailureTest, WithoutADescriptorTheServerCountsAsRefusingAndItIsSaidOnce) {
    openPixel();
    server.listen();
    for (const rlim_t count :
         {0, 1}) {  // Neither the socket nor, at the second turn, the reader's duplicate.
        receiveWithDescriptors(count, frame('A') + frame('A'));
        EXPECT_EQ(bridge->state(), BtState::failed("the receiver is not accepting connections"));
        EXPECT_TRUE(logged("Orvane: no descriptor is left for a connection into orvaned"));
        loop.advance(0.05);
    }
    EXPECT_EQ(std::ranges::count(roles.systemLog.lines,
                                 "Orvane: no descriptor is left for a connection into orvaned"),
              1);
    receive(frame('A'));
    EXPECT_EQ(bridge->state(), BtState::live("Pixel"));
}

}  // namespace orvane::test
