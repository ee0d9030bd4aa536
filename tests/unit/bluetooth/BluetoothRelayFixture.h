// A bridge between a phone and a server on real loopback sockets, with a real reader thread.
#pragma once

#include "bluetooth/LocalRelay.h"
#include "support/BluetoothBridgeSetup.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace orvane::test {

inline Bytes randomBytes(std::size_t size, unsigned seed) {
    std::minstd_rand random(seed);
    Bytes bytes(size);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random() >> 8); });
    return bytes;
}

/// What the data frames in `stream` carry, joined. Fails the test when anything else is in it.
inline Bytes payloadOfDataFrames(const Bytes& stream) {
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

class BluetoothRelayFixture : public BluetoothBridgeSetup, public testing::Test {
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

}  // namespace orvane::test
