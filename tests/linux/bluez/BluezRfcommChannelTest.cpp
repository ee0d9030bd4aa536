// The channel on real sockets of another kind: what it does with a descriptor is the same for any stream.
#include "linux/EventLoop.h"
#include "linux/bluez/BluezRfcommChannel.h"
#include "linux/bluez/BluezSocket.h"
#include "support/OwnResources.h"

#include <cerrno>
#include <numeric>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace orvane::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Recorder : RfcommChannelDelegate {
    void rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>&, BluetoothStatus status) override {
        opened.push_back(status);
    }
    void rfcommChannelData(const std::shared_ptr<RfcommChannel>& channel,
                           std::span<const std::uint8_t> bytes) override {
        EXPECT_EQ(closed, 0) << "data after the end";
        received.insert(received.end(), bytes.begin(), bytes.end());
        if (closeOnData) channel->closeChannel();
        if (dropOnData) dropOnData->reset();
    }
    void rfcommChannelQueueSpaceAvailable(const std::shared_ptr<RfcommChannel>&) override { ++spaceCount; }
    void rfcommChannelClosed(const std::shared_ptr<RfcommChannel>&) override { ++closed; }

    std::vector<BluetoothStatus> opened;
    Bytes received;
    int closed = 0;
    int spaceCount = 0;
    bool closeOnData = false;
    std::shared_ptr<BluezRfcommChannel>* dropOnData = nullptr;
};

Bytes counting(std::size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

class BluezRfcommChannelTest : public testing::Test {
  protected:
    BluezRfcommChannelTest() {
        int ends[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        phone.reset(ends[1]);
        channel = BluezRfcommChannel::make(Descriptor(ends[0]), delegate);
    }

    void open() {
        ASSERT_TRUE(runUntil([&] { return !delegate->opened.empty(); }));
    }

    void phoneSends(const Bytes& bytes) const {
        EXPECT_EQ(::send(phone.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    /// Everything the kernel takes without blocking, by pieces of the channel's size. Returns how much.
    std::size_t writeUntilFull() const {
        const Bytes piece = counting(channel->mtu());
        std::size_t total = 0;
        std::size_t taken = piece.size();
        while (taken == piece.size()) {
            taken = channel->write(piece);
            total += taken;
        }
        return total;
    }

    std::shared_ptr<Recorder> delegate = std::make_shared<Recorder>();
    Descriptor phone;
    std::shared_ptr<BluezRfcommChannel> channel;
};

TEST_F(BluezRfcommChannelTest, OpeningIsReportedLaterAndOnce) {
    EXPECT_TRUE(delegate->opened.empty());
    open();
    runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(delegate->opened, std::vector<BluetoothStatus>{bluetoothSuccess});
}

TEST_F(BluezRfcommChannelTest, AConnectThatFailsIsReportedWithItsErrno) {
    Descriptor refused(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_in nobody{};
    nobody.sin_family = AF_INET;
    nobody.sin_port = htons(1);
    nobody.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_NE(::connect(refused.get(), reinterpret_cast<sockaddr*>(&nobody), sizeof nobody), 0);

    const auto other = std::make_shared<Recorder>();
    const auto failing = BluezRfcommChannel::make(std::move(refused), other);
    ASSERT_TRUE(runUntil([&] { return !other->opened.empty(); }));
    runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(other->opened, std::vector<BluetoothStatus>{ECONNREFUSED});
    EXPECT_EQ(other->closed, 0);
    EXPECT_EQ(failing->write(Bytes(3)), 3U) << "dropped";
}

TEST_F(BluezRfcommChannelTest, BytesArriveUnchangedInOrder) {
    open();
    const Bytes sent = counting(100000);
    phoneSends(sent);
    ASSERT_TRUE(runUntil([&] { return delegate->received.size() >= sent.size(); }));
    EXPECT_EQ(delegate->received, sent);
}

TEST_F(BluezRfcommChannelTest, WritesReachThePhoneUnchanged) {
    open();
    const Bytes sent = counting(1000);
    EXPECT_EQ(channel->write(sent), sent.size());
    Bytes arrived(sent.size() + 1);
    EXPECT_EQ(::recv(phone.get(), arrived.data(), arrived.size(), MSG_DONTWAIT), 1000);
    arrived.resize(sent.size());
    EXPECT_EQ(arrived, sent);
}

TEST_F(BluezRfcommChannelTest, WhatThePhoneSentBeforeItHungUpComesFirstThenTheEndOnce) {
    open();
    const Bytes sent = counting(20000);
    phoneSends(sent);
    phone.reset();
    ASSERT_TRUE(runUntil([&] { return delegate->closed > 0; }));
    runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(delegate->received, sent);
    EXPECT_EQ(delegate->closed, 1);
}

TEST_F(BluezRfcommChannelTest, ALinkFoundDeadByAWriteStillDeliversWhatHadArrived) {
    open();
    phoneSends(counting(10));
    phone.reset();
    EXPECT_EQ(channel->write(Bytes(10)), 10U) << "dropped";
    EXPECT_EQ(delegate->closed, 0) << "never from within the call";
    ASSERT_TRUE(runUntil([&] { return delegate->closed > 0; }));
    EXPECT_EQ(delegate->received, counting(10));
}

TEST_F(BluezRfcommChannelTest, AClosedChannelIsNotHeardAgain) {
    open();
    phoneSends(counting(10));
    channel->closeChannel();
    runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(delegate->received.empty());
    EXPECT_EQ(delegate->closed, 0);
    std::uint8_t byte = 0;
    EXPECT_EQ(::recv(phone.get(), &byte, 1, MSG_DONTWAIT), -1);
    EXPECT_EQ(errno, ECONNRESET) << "the phone sees the end";
}

TEST_F(BluezRfcommChannelTest, AChannelMayBeClosedWhileItDeliversData) {
    open();
    delegate->closeOnData = true;
    phoneSends(counting(10000));
    ASSERT_TRUE(runUntil([&] { return !delegate->received.empty(); }));
    const std::size_t first = delegate->received.size();
    runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(delegate->received.size(), first);
    EXPECT_EQ(delegate->closed, 0);
}

TEST_F(BluezRfcommChannelTest, TheLastReferenceMayGoWhileItDeliversData) {
    open();
    delegate->dropOnData = &channel;
    phoneSends(counting(10));
    ASSERT_TRUE(runUntil([&] { return !delegate->received.empty(); }));
    EXPECT_EQ(channel, nullptr);
    std::uint8_t byte = 0;
    EXPECT_EQ(::recv(phone.get(), &byte, 1, 0), 0) << "released, so closed";
}

TEST_F(BluezRfcommChannelTest, WithoutDelegateDataIsDroppedAndTheEndIsSilent) {
    open();
    channel->setDelegate({});
    phoneSends(counting(10));
    phone.reset();
    runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(delegate->received.empty());
    EXPECT_EQ(delegate->closed, 0);
    EXPECT_EQ(channel->write(Bytes(1)), 1U) << "dropped";
}

TEST_F(BluezRfcommChannelTest, AFullLinkTakesWhatItCanWithoutWaitingAndSaysWhenThereIsRoom) {
    open();
    const int small = 4096;
    ::setsockopt(phone.get(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t taken = writeUntilFull();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_GT(taken, 0U);
    runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(delegate->spaceCount, 0);

    Bytes arrived(taken);
    EXPECT_EQ(::recv(phone.get(), arrived.data(), arrived.size(), MSG_WAITALL), static_cast<ssize_t>(taken));
    for (std::size_t i = 0; i < taken; ++i)
        ASSERT_EQ(arrived[i], static_cast<std::uint8_t>(i % channel->mtu())) << i;
    EXPECT_TRUE(runUntil([&] { return delegate->spaceCount == 1; }));
    runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(delegate->spaceCount, 1) << "once, until it is full again";
}

TEST_F(BluezRfcommChannelTest, WhileNothingIsToBeReceivedBytesStayWithTheKernel) {
    open();
    channel->setReceiving(false);
    phoneSends(counting(10));
    runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(delegate->received.empty());
    channel->setReceiving(true);
    EXPECT_TRUE(runUntil([&] { return delegate->received == counting(10); }));
}

TEST_F(BluezRfcommChannelTest, WhatIsNotToBeReceivedBeforeItIsOpenIsNotReceivedAfter) {
    channel->setReceiving(false);
    phoneSends(counting(10));
    open();
    runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(delegate->received.empty());
}

TEST_F(BluezRfcommChannelTest, NoDescriptorIsLeftAfterAThousandChannels) {
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 1000; ++round) {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        const Descriptor other(ends[1]);
        const auto shortLived = BluezRfcommChannel::make(Descriptor(ends[0]), delegate);
        if (round % 2 == 0) shortLived->closeChannel();
        QCoreApplication::processEvents();
    }
    EXPECT_LE(openDescriptors(), before);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST(BluezSocketTest, AddressesAreReadAsBluezPrintsThem) {
    const auto address = parseBluetoothAddress("00:1A:7d:DA:71:13");
    ASSERT_TRUE(address.has_value());
    EXPECT_EQ(address->b[5], 0x00);
    EXPECT_EQ(address->b[0], 0x13);
    for (const char* wrong : {"", "00:1A:7D:DA:71", "00-1A-7D-DA-71-13", "00:1A:7D:DA:71:1G",
                              "00:1A:7D:DA:71:-3", "00:1A:7D:DA:71: 3", "00:1A:7D:DA:71:13:00"}) {
        EXPECT_FALSE(parseBluetoothAddress(wrong).has_value()) << wrong;
    }
}

}  // namespace

}  // namespace orvane::test
