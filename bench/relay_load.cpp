// The phones and the servers at both ends of the relays that are measured. Arguments tell which they are,
//   NAME:KIND:PHONE:SERVER:PROCESS...
// that is framed or plain, the descriptors of the two ends, and the relay's process (0: there is none).
// Orders come line by line. Each is answered by a line for every relay, "NAME VALUE...", and an empty one:
//   trips SIZE COUNT         round trips, one at a time, in any order: 10th percentile, median, 99th, in µs
//   up SIZE BYTES            from the phone to the server, in frames of SIZE: MB/s, and CPU in ms a MB
//   down SIZE BYTES          from the server to the phone, in writes of SIZE: the same
//   pace SIZE RATE SECONDS   so many frames a second in either direction at once: CPU in ms a second
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <numeric>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr std::size_t headerSize = 5;  ///< A letter, and the payload's length in four bytes.
constexpr std::size_t batch =
    65536;  ///< What the phone writes at once, so that it is not what holds the relay up.

struct Way {
    std::string name;
    bool framed;
    int phone;
    int server;
    pid_t process;
    std::size_t sinceHeader = 0;  ///< Bytes still to come of the frame that is being read.
    Bytes header = {};
};

[[noreturn]] void fail(const Way& way, const char* what) {
    std::fprintf(stderr, "relay_load: %s: %s\n", way.name.c_str(), what);
    std::exit(1);
}

void writeAll(const Way& way, int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) fail(way, "a write failed");
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

std::span<const std::uint8_t> readSome(const Way& way, int fd, Bytes& buffer) {
    const ssize_t count = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (count <= 0) fail(way, "the connection has ended");
    return std::span(buffer).first(static_cast<std::size_t>(count));
}

void appendMessage(Bytes& bytes, const Way& way, std::size_t size) {
    if (way.framed) {
        const std::uint32_t length = htonl(static_cast<std::uint32_t>(size));
        const auto* const first = reinterpret_cast<const std::uint8_t*>(&length);
        bytes.push_back('d');
        bytes.insert(bytes.end(), first, first + sizeof length);
    }
    bytes.insert(bytes.end(), size, 0x5A);
}

/// How many bytes of payload there are in what the phone has read.
std::size_t payloadIn(Way& way, std::span<const std::uint8_t> bytes) {
    if (!way.framed) return bytes.size();
    std::size_t payload = 0;
    while (!bytes.empty()) {
        const std::size_t part = std::min(way.sinceHeader, bytes.size());
        payload += part;
        way.sinceHeader -= part;
        bytes = bytes.subspan(part);
        while (way.sinceHeader == 0 && !bytes.empty()) {
            way.header.push_back(bytes.front());
            bytes = bytes.subspan(1);
            if (way.header.size() < headerSize) continue;
            if (way.header[0] != 'd') fail(way, "a frame that is none of data");
            std::uint32_t length = 0;
            std::copy_n(way.header.begin() + 1, sizeof length, reinterpret_cast<std::uint8_t*>(&length));
            way.sinceHeader = ntohl(length);
            way.header.clear();
        }
    }
    return payload;
}

void readAtPhone(Way& way, std::size_t size) {
    Bytes buffer(batch * 4);
    while (size > 0)
        size -= payloadIn(way, readSome(way, way.phone, buffer));
}

void readAtServer(const Way& way, std::size_t size) {
    Bytes buffer(batch * 4);
    while (size > 0)
        size -= readSome(way, way.server, buffer).size();
}

/// Whole messages: each is answered when all of it has come.
void echo(const Way& way, std::size_t size, std::size_t count) {
    Bytes message(size);
    for (std::size_t i = 0; i < count; ++i) {
        if (::recv(way.server, message.data(), size, MSG_WAITALL) != static_cast<ssize_t>(size))
            fail(way, "the connection has ended");
        writeAll(way, way.server, message);
    }
}

/// The processor time that a process has used, its ended threads included.
double cpuSeconds(pid_t process) {
    clockid_t clock = 0;
    timespec used{};
    if (process == 0 || ::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &used) != 0)
        return 0;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

double secondsFor(const std::function<void()>& work) {
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double quantile(std::vector<double>& values, double part) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

void trips(std::vector<Way>& ways, std::size_t size, std::size_t count) {
    std::vector<std::thread> servers;
    std::vector<Bytes> messages(ways.size());
    for (std::size_t i = 0; i < ways.size(); ++i) {
        appendMessage(messages[i], ways[i], size);
        servers.emplace_back([&way = ways[i], size, count] { echo(way, size, count); });
    }
    std::vector<std::vector<double>> taken(ways.size());
    Bytes buffer(batch);
    std::vector<std::size_t> order(ways.size());
    std::iota(order.begin(), order.end(), 0);
    std::mt19937 random;
    for (std::size_t trip = 0; trip < count; ++trip) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t i : order) {
            taken[i].push_back(secondsFor([&] {
                writeAll(ways[i], ways[i].phone, messages[i]);
                for (std::size_t left = size; left > 0;)
                    left -= payloadIn(ways[i], readSome(ways[i], ways[i].phone, buffer));
            }));
        }
    }
    for (auto& server : servers)
        server.join();
    for (std::size_t i = 0; i < ways.size(); ++i) {
        std::cout << ways[i].name;
        for (const double part : {0.1, 0.5, 0.99})
            std::cout << ' ' << quantile(taken[i], part) * 1e6;
        std::cout << '\n';
    }
}

void tellRate(const Way& way, std::size_t bytes, const std::function<void()>& transfer) {
    const double cpuBefore = cpuSeconds(way.process);
    const double seconds = secondsFor(transfer);
    const double megabytes = static_cast<double>(bytes) / 1e6;
    std::cout << way.name << ' ' << megabytes / seconds << ' '
              << (cpuSeconds(way.process) - cpuBefore) * 1e3 / megabytes << '\n';
}

void up(Way& way, std::size_t size, std::size_t bytes) {
    Bytes some;
    std::size_t payload = 0;
    do {
        appendMessage(some, way, size);
        payload += size;
    } while (some.size() + size < batch);
    const std::size_t writes = bytes / payload;
    tellRate(way, writes * payload, [&] {
        std::thread server([&] { readAtServer(way, writes * payload); });
        for (std::size_t i = 0; i < writes; ++i)
            writeAll(way, way.phone, some);
        server.join();
    });
}

void down(Way& way, std::size_t size, std::size_t bytes) {
    const Bytes piece(size, 0x5A);
    const std::size_t writes = bytes / size;
    tellRate(way, writes * size, [&] {
        std::thread server([&] {
            for (std::size_t i = 0; i < writes; ++i)
                writeAll(way, way.server, piece);
        });
        readAtPhone(way, writes * size);
        server.join();
    });
}

/// Writes to a beat, and does not drift.
void writeToBeat(const Way& way, int fd, const Bytes& message, std::size_t count,
                 std::chrono::nanoseconds beat) {
    const auto begin = Clock::now();
    for (std::size_t i = 0; i < count; ++i) {
        std::this_thread::sleep_until(begin + i * beat);
        writeAll(way, fd, message);
    }
}

void pace(std::vector<Way>& ways, std::size_t size, std::size_t rate, std::size_t seconds) {
    const auto beat = std::chrono::nanoseconds(std::chrono::seconds(1)) / rate;
    const std::size_t count = rate * seconds;
    for (Way& way : ways) {
        Bytes fromPhone;
        appendMessage(fromPhone, way, size);
        const Bytes fromServer(size, 0x5A);
        const double before = cpuSeconds(way.process);
        const double taken = secondsFor([&] {
            std::thread phone([&] { writeToBeat(way, way.phone, fromPhone, count, beat); });
            std::thread server([&] { writeToBeat(way, way.server, fromServer, count, beat); });
            std::thread listener([&] { readAtServer(way, count * size); });
            readAtPhone(way, count * size);
            phone.join();
            server.join();
            listener.join();
        });
        std::cout << way.name << ' ' << (cpuSeconds(way.process) - before) * 1e3 / taken << '\n';
    }
}

bool carryOut(std::vector<Way>& ways, const std::string& line) {
    std::istringstream words(line);
    std::string what;
    std::size_t size = 0;
    std::size_t amount = 0;
    std::size_t seconds = 0;
    words >> what >> size >> amount >> seconds;
    if (size == 0 || amount == 0) return false;
    if (what == "trips")
        trips(ways, size, amount);
    else if (what == "pace")
        pace(ways, size, amount, seconds);
    else if (what == "up")
        for (Way& way : ways)
            up(way, size, amount);
    else if (what == "down")
        for (Way& way : ways)
            down(way, size, amount);
    else
        return false;
    std::cout << std::endl;
    std::rotate(ways.begin(), ways.begin() + 1, ways.end());  // None is always the first.
    return true;
}

Way parse(std::string argument) {
    std::replace(argument.begin(), argument.end(), ':', ' ');
    std::istringstream words(argument);
    Way way{};
    std::string kind;
    words >> way.name >> kind >> way.phone >> way.server >> way.process;
    way.framed = kind == "framed";
    return way;
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<Way> ways;
    for (int i = 1; i < count; ++i)
        ways.push_back(parse(arguments[i]));
    std::string line;
    while (std::getline(std::cin, line))
        if (!carryOut(ways, line)) return 2;
    return 0;
}
