// The least that a relay can be whose reader of the server has a thread of its own and hands what it reads to
// the main thread, as the program's does: bare_relay PATH PORT connects the UNIX socket to the TCP port. It
// frames nothing, checks nothing, and has nothing else to do.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// What the reader hands to the main thread.
class Queue {
  public:
    int wakeUp() const { return wakeUp_; }
    void push(Bytes bytes) {
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(std::move(bytes));
        }
        eventfd_write(wakeUp_, 1);
    }
    std::deque<Bytes> takeAll() {
        eventfd_t count = 0;
        eventfd_read(wakeUp_, &count);
        const std::lock_guard lock(mutex_);
        return std::exchange(waiting_, {});
    }

  private:
    const int wakeUp_ = ::eventfd(0, EFD_CLOEXEC);
    std::mutex mutex_;
    std::deque<Bytes> waiting_;
};

/// The end of either side is the end of all.
void pass(int to, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) std::_Exit(0);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

std::span<const std::uint8_t> readSome(int from, std::span<std::uint8_t> buffer) {
    const ssize_t count = ::recv(from, buffer.data(), buffer.size(), 0);
    if (count <= 0) std::_Exit(0);
    return buffer.first(static_cast<std::size_t>(count));
}

int phoneAt(const char* path) {
    const int phone = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    return ::connect(phone, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? phone : -1;
}

int serverAt(const char* port) {
    const int server = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    address.sin_addr.s_addr = ::inet_addr("127.0.0.1");
    const int on = 1;
    ::setsockopt(server, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return ::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? server : -1;
}

[[noreturn]] void relay(int phone, int server) {
    Queue queue;
    std::thread([&queue, server] {
        std::array<std::uint8_t, 32768> buffer;
        while (true) {
            const auto bytes = readSome(server, buffer);
            queue.push({bytes.begin(), bytes.end()});
        }
    }).detach();
    std::array<std::uint8_t, 65536> buffer;
    std::array<pollfd, 2> watched{{{phone, POLLIN, 0}, {queue.wakeUp(), POLLIN, 0}}};
    while (true) {
        ::poll(watched.data(), watched.size(), -1);
        if (watched[0].revents) pass(server, readSome(phone, buffer));
        if (watched[1].revents)
            for (const Bytes& bytes : queue.takeAll())
                pass(phone, bytes);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int phone = argc == 3 ? phoneAt(argv[1]) : -1;
    const int server = argc == 3 ? serverAt(argv[2]) : -1;
    if (phone >= 0 && server >= 0) relay(phone, server);
    std::fputs("usage: bare_relay PATH PORT\n", stderr);
    return 1;
}
