// The relay beside socat, by turns and on the same kind of sockets: the phone's end of a socketpair (in place
// of RFCOMM), a relay in a process of its own, a TCP server on this machine. Ours is the real bridge with its
// frames and its reader thread, on a main loop as light as poll(2) and a queue.
#include "bluetooth/BluetoothBridge.h"
#include "support/LoopbackBluetoothServer.h"
#include "support/TestBluetooth.h"
#include "support/TestPlatform.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clocked = std::chrono::steady_clock;

constexpr std::size_t rfcommMtu = 1016;     ///< What Linux negotiates.
constexpr std::size_t wholeFrames = 65541;  ///< An MTU that cuts no frame: the relay without RFCOMM's share.

bool writeAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

bool readAll(int fd, std::span<std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::read(fd, bytes.data(), bytes.size());
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

// ---- The bridge's process ----

/// The main queue and one descriptor to read.
class PollLoop : public TestRunLoop {
  public:
    void async(Block block) override {
        bool wasEmpty = false;
        {
            const std::lock_guard lock(mutex_);
            wasEmpty = queue_.empty();
            queue_.push_back(std::move(block));
        }
        if (wasEmpty) ::eventfd_write(wake_, 1);
    }

    /// Runs until `fd` is at its end; reads it while `isReceiving`.
    void run(int fd, const bool& isReceiving,
             const std::function<void(std::span<const std::uint8_t>)>& received) {
        Bytes buffer(65536);
        pollfd entries[] = {{wake_, POLLIN, 0}, {fd, POLLIN, 0}};
        while (true) {
            entries[1].events = isReceiving ? POLLIN : 0;
            ::poll(entries, 2, watchCount() > 0 ? 1 : -1);
            if (watchCount() > 0) runPending();
            if (entries[0].revents != 0) runQueue();
            if ((entries[1].revents & POLLIN) == 0) continue;
            const ssize_t count = ::read(fd, buffer.data(), buffer.size());
            if (count <= 0) return;
            received(std::span(buffer).first(static_cast<std::size_t>(count)));
        }
    }

  private:
    void runQueue() {
        eventfd_t value = 0;
        ::eventfd_read(wake_, &value);
        std::deque<Block> blocks;
        {
            const std::lock_guard lock(mutex_);
            blocks.swap(queue_);
        }
        for (const Block& block : blocks)
            block();
    }

    const int wake_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::mutex mutex_;
    std::deque<Block> queue_;
};

class DetachedThreads : public TestThreads {
  public:
    bool start(const std::string&, Block body) override {
        std::thread(std::move(body)).detach();
        return true;
    }
};

class SocketChannel : public RfcommChannel {
  public:
    SocketChannel(int fd, std::size_t mtu) : fd_(fd), mtu_(mtu) {}
    std::size_t mtu() const override { return mtu_; }
    std::size_t write(std::span<const std::uint8_t> bytes) override {
        writeAll(fd_, bytes);
        return bytes.size();
    }
    void setReceiving(bool receiving) override { isReceiving = receiving; }
    void setDelegate(const std::weak_ptr<RfcommChannelDelegate>&) override {}
    void closeChannel() override {}

    bool isReceiving = true;

  private:
    int fd_;
    std::size_t mtu_;
};

class SocketDevice : public TestBluetoothDevice {
  public:
    SocketDevice(int fd, std::size_t mtu) : channel(std::make_shared<SocketChannel>(fd, mtu)) {}
    BluetoothStatus openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& opened, std::uint8_t,
                                           const std::weak_ptr<RfcommChannelDelegate>&) override {
        opened = channel;
        return bluetoothSuccess;
    }
    std::shared_ptr<SocketChannel> channel;
};

void runBridge(int fd, std::size_t mtu, std::uint16_t port) {
    TestPlatform roles;
    PollLoop loop;
    DetachedThreads threads;
    TestBluetooth bluetooth;
    const auto device = std::make_shared<SocketDevice>(fd, mtu);
    device->addressValue = "phone";
    device->addRecord({}, "Orvane", 1);
    bluetooth.byAddress["phone"] = device;
    roles.userDefaults.setString("phone", "btDevice");

    const auto bridge = std::make_shared<BluetoothBridge>(
        BluetoothBridge::Roles{loop, loop, threads, roles.userDefaults, roles.systemLog, bluetooth}, port);
    bridge->start([](const BtState&) {});
    device->completeQuery();
    bridge->rfcommChannelOpenComplete(device->channel, bluetoothSuccess);
    loop.run(fd, device->channel->isReceiving,
             [&](std::span<const std::uint8_t> bytes) { bridge->rfcommChannelData(device->channel, bytes); });
    ::_exit(0);  // The reader's thread may still use what stands here.
}

// ---- The server ----

/// What the phone asks of the server, before the bytes: 'e' (echo), 's' (swallow, then answer with one byte)
/// or 'g' (give), and how many bytes.
struct Order {
    char what;
    std::uint32_t size;
};

void serve(int fd) {
    Bytes buffer(65536);
    Order order{};
    while (readAll(fd, {reinterpret_cast<std::uint8_t*>(&order), sizeof order})) {
        for (std::size_t left = order.size; left > 0;) {
            const auto part = std::span(buffer).first(std::min(left, buffer.size()));
            if (order.what != 'g' && !readAll(fd, part)) return;
            if (order.what != 's' && !writeAll(fd, part)) return;
            left -= part.size();
        }
        if (order.what == 's' && !writeAll(fd, std::span(buffer).first(1))) return;
    }
}

// ---- The phone ----

/// One way from the phone to the server and back.
class Way {
  public:
    Way(int fd, bool framed) : fd_(fd), framed_(framed) {}

    /// A round trip of `payload`, in seconds.
    double roundTrip(std::span<const std::uint8_t> payload) {
        const Bytes message = packed(order('e', payload.size()), payload);
        return timed([&] { return writeAll(fd_, message) && take(payload.size()); });
    }
    /// The time to bring `size` bytes to the server, in seconds.
    double bring(std::size_t size, std::size_t pieceSize) {
        Bytes stream;
        const Bytes piece(pieceSize);
        while (stream.size() < 65536)
            append(stream, framed_ ? encodeFrame(FrameType::data, piece) : piece);
        const std::size_t perWrite = stream.size() / (framed_ ? pieceSize + 5 : pieceSize) * pieceSize;
        const std::size_t writes = size / perWrite;
        const Bytes begin = packed(order('s', writes * perWrite), {});
        return timed([&] {
            bool good = writeAll(fd_, begin);
            for (std::size_t i = 0; good && i < writes; ++i)
                good = writeAll(fd_, stream);
            return good && take(1);
        });
    }
    /// The time to fetch `size` bytes from the server, in seconds.
    double fetch(std::size_t size) {
        const Bytes message = packed(order('g', size), {});
        return timed([&] { return writeAll(fd_, message) && take(size); });
    }

  private:
    static Bytes order(char what, std::size_t size) {
        const Order value{what, static_cast<std::uint32_t>(size)};
        Bytes bytes(sizeof value);
        std::memcpy(bytes.data(), &value, sizeof value);
        return bytes;
    }
    static void append(Bytes& bytes, const Bytes& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
    }

    /// The order and the payload in one write, as one frame where there are frames.
    Bytes packed(Bytes begin, std::span<const std::uint8_t> payload) const {
        begin.insert(begin.end(), payload.begin(), payload.end());
        return framed_ ? encodeFrame(FrameType::data, begin) : begin;
    }
    /// Reads until `size` bytes of payload have come.
    bool take(std::size_t size) {
        while (size > 0) {
            const ssize_t count = ::read(fd_, buffer_.data(), buffer_.size());
            if (count <= 0) return false;
            const auto bytes = std::span<const std::uint8_t>(buffer_).first(static_cast<std::size_t>(count));
            size -= framed_ ? payloadIn(bytes) : bytes.size();
        }
        return true;
    }
    std::size_t payloadIn(std::span<const std::uint8_t> bytes) {
        std::size_t size = 0;
        reader_.append(bytes);
        while (true) {
            const auto next = reader_.next();
            const auto* frame = std::get_if<BridgeFrame>(&next);
            if (!frame) return size;
            size += frame->payload.size();
        }
    }
    template <typename Work>
    static double timed(const Work& work) {
        const auto begin = Clocked::now();
        if (!work()) {
            std::fputs("bench_relay: a connection has ended early\n", stderr);
            std::exit(1);
        }
        return std::chrono::duration<double>(Clocked::now() - begin).count();
    }

    int fd_;
    bool framed_;
    Bytes buffer_ = Bytes(65536);
    FrameReader reader_;
};

// ---- All together ----

/// The relays' processes, ended and waited for when the program ends.
struct Children {
    ~Children() {
        for (const auto& [fd, pid] : list)
            ::shutdown(fd, SHUT_RDWR);
        for (const auto& [fd, pid] : list)
            ::waitpid(pid, nullptr, 0);
    }
    std::vector<std::pair<int, pid_t>> list;  ///< The phone's end, and the process at the other.
} children;

/// Forks; the child runs `body` on its end of a socketpair. The other end is the result.
template <typename Body>
int forkRelay(const Body& body) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::exit(1);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(ends[0]);
        body(ends[1]);
        ::_exit(0);
    }
    ::close(ends[1]);
    children.list.emplace_back(ends[0], pid);
    return ends[0];
}

int connectDirectly(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) std::exit(1);
    return fd;
}

bool hasSocat() {
    return std::system("command -v socat >/dev/null") == 0;
}

/// The ways, each with a connection of its own to the one server. Made before any thread, for `fork`.
class Ways {
  public:
    Ways() {
        server_.listen();
        direct = std::make_unique<Way>(connectDirectly(server_.port()), false);
        bridge = makeBridge(wholeFrames);
        bridgeInPieces = makeBridge(rfcommMtu);
        socat = makeSocat("8192");
        socatOurReads = makeSocat("2048");
        std::thread([this] { acceptAll(); }).detach();
    }

    std::unique_ptr<Way> direct;
    std::unique_ptr<Way> bridge;
    std::unique_ptr<Way> bridgeInPieces;
    std::unique_ptr<Way> socat;          ///< As it comes: it reads 8192 bytes at once.
    std::unique_ptr<Way> socatOurReads;  ///< Told to read 2048 bytes at once, as the bridge does.

  private:
    std::unique_ptr<Way> makeBridge(std::size_t mtu) {
        const int fd = forkRelay([&](int end) { runBridge(end, mtu, server_.port()); });
        writeAll(fd, encodeFrame(FrameType::attach, {}));
        return std::make_unique<Way>(fd, true);
    }
    std::unique_ptr<Way> makeSocat(const char* readSize) {
        const int fd = forkRelay([&](int end) {
            const std::string phone = "FD:" + std::to_string(end);
            const std::string target = "TCP:127.0.0.1:" + std::to_string(server_.port()) + ",nodelay";
            ::execlp("socat", "socat", "-b", readSize, phone.c_str(), target.c_str(), nullptr);
        });
        return std::make_unique<Way>(fd, false);
    }
    void acceptAll() {
        while (true) {
            auto connection = std::make_shared<ServerConnection>(server_.accept());
            if (!connection->isOpen()) continue;
            const int on = 1;
            ::setsockopt(connection->fd(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            std::thread([connection] { serve(connection->fd()); }).detach();
        }
    }

    LoopbackBluetoothServer server_;
};

Ways* ways(benchmark::State& state) {
    static const bool peer = hasSocat();
    if (!peer) {
        state.SkipWithError("socat is not installed: there is nothing to compare with");
        return nullptr;
    }
    static Ways* const made = new Ways;  // NOLINT: lives as long as its threads, until the process ends.
    return made;
}

constexpr std::size_t bulk = 16U << 20;

double quantile(std::vector<double>& values, double part) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

/// Round trips of a 640-byte frame, one by one on each way: what a relay adds to the direct way (median), and
/// the 99th percentile of the whole. Ratios below 1: ours is faster.
void relayRoundTrip(benchmark::State& state) {
    Ways* const all = ways(state);
    if (!all) return;
    const Bytes payload(640, 0x5A);
    std::vector<double> direct;
    std::vector<double> bridge;
    std::vector<double> socat;
    for ([[maybe_unused]] auto _ : state) {
        direct.push_back(all->direct->roundTrip(payload));
        bridge.push_back(all->bridge->roundTrip(payload));
        socat.push_back(all->socat->roundTrip(payload));
        state.SetIterationTime(bridge.back());
    }
    const double base = quantile(direct, 0.5);
    const double ours = quantile(bridge, 0.5) - base;
    const double theirs = quantile(socat, 0.5) - base;
    state.counters["bridge_added_us"] = ours * 1e6;
    state.counters["socat_added_us"] = theirs * 1e6;
    state.counters["bridge/socat_added"] = ours / theirs;
    state.counters["bridge_p99_us"] = quantile(bridge, 0.99) * 1e6;
    state.counters["socat_p99_us"] = quantile(socat, 0.99) * 1e6;
    state.counters["bridge/socat_p99"] = quantile(bridge, 0.99) / quantile(socat, 0.99);
}

/// Runs `work` on each way by turns. The counters are medians of the throughput, and its ratio: above 1, ours
/// is faster than socat.
template <typename Work>
void compareThroughput(benchmark::State& state, Way& ours, Ways& all, const Work& work) {
    std::vector<double> bridge;
    std::vector<double> socat;
    std::vector<double> socatOurReads;
    for ([[maybe_unused]] auto _ : state) {
        bridge.push_back(work(ours));
        socat.push_back(work(*all.socat));
        socatOurReads.push_back(work(*all.socatOurReads));
        state.SetIterationTime(bridge.back());
    }
    const double median = quantile(bridge, 0.5);
    state.counters["bridge_MB/s"] = bulk / 1e6 / median;
    state.counters["bridge/socat"] = quantile(socat, 0.5) / median;
    state.counters["bridge/socat_b2048"] = quantile(socatOurReads, 0.5) / median;
}

void phoneToServer(benchmark::State& state) {
    const auto piece = static_cast<std::size_t>(state.range(0));
    if (Ways* const all = ways(state))
        compareThroughput(state, *all->bridge, *all, [&](Way& way) { return way.bring(bulk, piece); });
}

void serverToPhone(benchmark::State& state) {
    Ways* const all = ways(state);
    if (!all) return;
    Way& ours = state.range(0) == rfcommMtu ? *all->bridgeInPieces : *all->bridge;
    compareThroughput(state, ours, *all, [](Way& way) { return way.fetch(bulk); });
}

BENCHMARK(relayRoundTrip)->Iterations(20'000)->UseManualTime();
BENCHMARK(phoneToServer)->ArgName("frame")->Arg(640)->Arg(16384)->Iterations(40)->UseManualTime();
BENCHMARK(serverToPhone)->ArgName("mtu")->Arg(wholeFrames)->Arg(rfcommMtu)->Iterations(40)->UseManualTime();

}  // namespace

}  // namespace orvane::test
