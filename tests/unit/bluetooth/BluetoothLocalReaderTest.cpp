// The reader's thread by itself: what it hands on, when it pauses and when it ends.
#include "bluetooth/LocalReader.h"
#include "support/BluetoothBridgeSetup.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <numeric>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>

namespace orvane::test {

namespace {

/// A main queue that knows how many blocks have waited in it at most, and how many there were.
class WatchedLoop : public TestRunLoop {
  public:
    void async(Block block) override {
        TestRunLoop::async(std::move(block));
        most = std::max(most.load(), pendingCount());
        ++posted;
    }
    std::atomic<std::size_t> most = 0;
    std::atomic<std::size_t> posted = 0;
};

std::vector<int> everyOpenDescriptor() {
    std::vector<int> found;
    for (int fd = 0; fd < 1024; ++fd)
        if (::fcntl(fd, F_GETFD) >= 0) found.push_back(fd);
    return found;
}

}  // namespace

class BluetoothLocalReaderTest : public testing::Test {
  protected:
    BluetoothLocalReaderTest() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        ours = OwnedFd(ends[0]);
        server = ServerConnection(ends[1]);
        LocalReader::Handlers handlers;
        handlers.received = [this](std::span<const std::uint8_t> chunk, bool more) {
            received.emplace_back(chunk.begin(), chunk.end());
            moreFollow.push_back(more);
            if (onReceived) onReceived();
        };
        handlers.ended = [this] { ++endCount; };
        reader = std::make_shared<LocalReader>(ours.get(), loop, std::move(handlers));
    }

    bool eventually(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        return condition();
    }

    WatchedLoop loop;
    OwnedFd ours;
    ServerConnection server{-1};
    std::shared_ptr<LocalReader> reader;
    std::vector<Bytes> received;
    std::vector<bool> moreFollow;  ///< As it was told with each of them.
    std::function<void()> onReceived;
    int endCount = 0;
    CountedThreads threads;
    /// So many reads fill the way to the main thread.
    static constexpr std::size_t fullPosts = LocalReader::maxWaiting / LocalReader::chunksAtOnce;
};

TEST_F(BluetoothLocalReaderTest, HandsOnChunksOfAtMost2048BytesAndThenTheEnd) {
    ASSERT_TRUE(server.write(Bytes(5000, 'x')));
    server.close();
    reader->run();
    EXPECT_TRUE(received.empty());  // Later, on the main thread.
    loop.runPending();
    EXPECT_EQ(received, (std::vector<Bytes>{Bytes(2048, 'x'), Bytes(2048, 'x'), Bytes(904, 'x')}));
    EXPECT_EQ(moreFollow, (std::vector<bool>{true, true, false}));
    EXPECT_EQ(endCount, 1);
}

TEST_F(BluetoothLocalReaderTest, HandsOnASingleByte) {
    ASSERT_TRUE(server.write(bytesOf("x")));
    server.close();
    reader->run();
    loop.runPending();
    EXPECT_EQ(received, (std::vector<Bytes>{bytesOf("x")}));
    EXPECT_EQ(moreFollow, (std::vector<bool>{false}));
}

TEST_F(BluetoothLocalReaderTest, ASignalIsNoEndAndLosesNothing) {
    struct sigaction interrupts {};
    interrupts.sa_handler = [](int) {};  // And calls are not begun again.
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGUSR1, &interrupts, &before), 0);
    std::atomic<pthread_t> thread{};
    std::atomic<bool> runs = false;
    threads.start("reader", [&] {
        thread = ::pthread_self();
        runs = true;
        reader->run();
    });
    ASSERT_TRUE(eventually([&] { return runs.load(); }));
    for (int i = 0; i < 20; ++i) {
        ::pthread_kill(thread, SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(server.write(bytesOf("one")));
    ASSERT_TRUE(eventually([this] { return loop.pendingCount() == 1; }));
    ASSERT_TRUE(server.write(bytesOf("two")));
    server.close();
    ASSERT_TRUE(threads.waitForRunning(0));
    ::sigaction(SIGUSR1, &before, nullptr);
    loop.runPending();
    EXPECT_EQ(received, (std::vector<Bytes>{bytesOf("one"), bytesOf("two")}));
    EXPECT_EQ(endCount, 1);
}

/// Of messages one comes with each read, and what is not read of it is lost.
TEST_F(BluetoothLocalReaderTest, ReadsNoMoreAtOnceThanTheMainThreadMayLeaveWaiting) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0)
        GTEST_SKIP() << "this system has no such sockets";
    const OwnedFd messages(ends[0]);
    ServerConnection sender(ends[1]);
    std::vector<std::size_t> sizes(1);
    LocalReader::Handlers handlers;
    handlers.received = [&](std::span<const std::uint8_t> chunk, bool more) {
        sizes.back() += chunk.size();
        if (!more) sizes.push_back(0);
    };
    handlers.ended = [] {};
    const auto other = std::make_shared<LocalReader>(messages.get(), loop, std::move(handlers));
    ASSERT_TRUE(sender.write(Bytes(50'000)));
    for (int i = 0; i < 18; ++i)
        ASSERT_TRUE(sender.write(Bytes(2048)));
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(sender.write(Bytes(50'000)));
    sender.close();
    threads.start("reader", [&] { other->run(); });
    ASSERT_TRUE(eventually([&] { return loop.pendingCount() == 21; }));
    loop.runPending();
    ASSERT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    EXPECT_EQ(std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}), 64U * 2048)
        << "16 chunks at once, 18 by themselves, 16 and 14";
}

TEST_F(BluetoothLocalReaderTest, ReadsNothingWhenItIsStoppedBeforeItStarts) {
    ASSERT_TRUE(server.write(bytesOf("too late")));
    reader->stop();
    reader->run();
    loop.runPending();
    EXPECT_TRUE(received.empty());
    EXPECT_EQ(endCount, 1);
}

TEST_F(BluetoothLocalReaderTest, DropsWhatItReadsAfterItWasStopped) {
    threads.start("reader", [this] { reader->run(); });
    ASSERT_TRUE(server.write(bytesOf("in time")));
    ASSERT_TRUE(eventually([this] { return loop.pendingCount() == 1; }));
    reader->stop();
    server.write(bytesOf("too late"));
    ASSERT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    EXPECT_EQ(received, (std::vector<Bytes>{bytesOf("in time")}));
    EXPECT_EQ(endCount, 1);
}

TEST_F(BluetoothLocalReaderTest, PausesWhenTheMainThreadIsBehindAndLosesNothing) {
    Bytes sent(4'000'000);
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<std::uint8_t>(i * i >> 7);
    threads.start("server", [&] {
        server.write(sent);
        server.close();
    });
    threads.start("reader", [this] { reader->run(); });
    ASSERT_TRUE(eventually([this] { return loop.pendingCount() >= fullPosts; }));
    EXPECT_TRUE(eventually([this] {
        loop.runPending();
        return endCount == 1;
    }));
    ASSERT_TRUE(threads.waitForRunning(0));
    Bytes joined;
    for (const Bytes& chunk : received)
        joined.insert(joined.end(), chunk.begin(), chunk.end());
    EXPECT_EQ(joined, sent);
    EXPECT_LE(loop.most, LocalReader::maxWaiting + 1);  // The last one is the end.
}

TEST_F(BluetoothLocalReaderTest, AfterAPauseItGoesOnWhenHalfHasBeenTaken) {
    threads.start("server", [this] {
        server.write(Bytes(2 * LocalReader::maxWaiting * LocalReader::chunkSize));
        server.close();
    });
    threads.start("reader", [this] { reader->run(); });
    ASSERT_TRUE(eventually([this] { return loop.posted >= fullPosts; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // Now it waits.
    const std::size_t before = loop.posted;
    bool wentOn = false;
    onReceived = [&] {
        if (received.size() == LocalReader::maxWaiting / 2)
            wentOn = eventually([&] { return loop.posted > before; });
    };
    loop.runPending();
    EXPECT_TRUE(wentOn);
    onReceived = {};
    EXPECT_TRUE(eventually([this] {
        loop.runPending();
        return endCount == 1;
    }));
    ASSERT_TRUE(threads.waitForRunning(0));
}

TEST_F(BluetoothLocalReaderTest, ReadsNothingFurtherWhileItIsHeld) {
    reader->hold(true);
    threads.start("reader", [this] { reader->run(); });
    ASSERT_TRUE(server.write(Bytes(5000, 'x')));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(loop.pendingCount(), 0U);
    reader->hold(false);
    ASSERT_TRUE(eventually([this] { return loop.pendingCount() == 1; }));
    reader->hold(true);
    ASSERT_TRUE(server.write(Bytes(5000, 'y')));
    ASSERT_TRUE(server.write(Bytes(5000, 'z')));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_LE(loop.pendingCount(), 2U) << "one read may have been under way";
    reader->hold(false);
    server.close();
    ASSERT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    std::size_t size = 0;
    for (const Bytes& chunk : received)
        size += chunk.size();
    EXPECT_EQ(size, 15000U);
}

TEST_F(BluetoothLocalReaderTest, AHeldReaderEndsWhenItIsStopped) {
    reader->hold(true);
    threads.start("reader", [this] { reader->run(); });
    reader->stop();
    ASSERT_TRUE(threads.waitForRunning(0));
    loop.runPending();
    EXPECT_EQ(endCount, 1);
}

TEST_F(BluetoothLocalReaderTest, ItsDescriptorIsNotInherited) {
    const auto descriptors = everyOpenDescriptor();
    const LocalReader other(ours.get(), loop, {});
    const auto after = everyOpenDescriptor();
    ASSERT_EQ(after.size(), descriptors.size() + 1);
    for (const int fd : after) {
        if (std::ranges::find(descriptors, fd) == descriptors.end()) {
            EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
        }
    }
}

}  // namespace orvane::test
