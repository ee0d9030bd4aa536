#include "linux/system/TcpTable.h"
#include "posix/Descriptor.h"

#include <array>
#include <csignal>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* table =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
    "   0: 0100007F:15B3 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000        0 4711 1 x\n"
    "   1: 0100007F:15B3 0100007F:1234 01 00000000:00000000 00:00000000 00000000     0        0 4712 1 x\n"
    "   2: 00000000:0016 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 4713 1 x\n"
    "   3: 0200A8C0:15B3 00000000:0000 0A 00000000:00000000 00:00000000 00000000    33        0 4714 1 x\n";

TEST(TcpTableTest, OnlyListenersOnThePortCount) {
    EXPECT_THAT(listeningSockets(table, 5555),
                ElementsAre(ListeningSocket{1000, 4711, true}, ListeningSocket{33, 4714, false}));
    EXPECT_THAT(listeningSockets(table, 22), ElementsAre(ListeningSocket{0, 4713, true}));
    EXPECT_THAT(listeningSockets(table, 4660), IsEmpty());
    EXPECT_THAT(listeningSockets("nonsense\nmore\n", 5555), IsEmpty());
}

TEST(TcpTableTest, AListenerForBothProtocolsIsReachedToo) {
    const std::string_view sixes =
        "  sl  local_address remote_address st tx_queue rx_queue tr tm->when retrnsmt uid timeout inode\n"
        "   0: 00000000000000000000000000000000:15B3 00000000000000000000000000000000:0000 0A 0:0 0:0 0 7 0 "
        "1 1 x\n"
        "   1: 00000000000000000000000001000000:15B3 00000000000000000000000000000000:0000 0A 0:0 0:0 0 8 0 "
        "2 1 x\n";
    EXPECT_THAT(listeningSockets(sixes, 5555),
                ElementsAre(ListeningSocket{7, 1, true}, ListeningSocket{8, 2, false}));
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// A socket that listens on a free port of 127.0.0.1, and the port.
struct Listener {
    Descriptor socket;
    std::uint16_t port = 0;

    Listener() {
        sockaddr_in address = loopback(0);
        listen(AF_INET, address);
        port = ntohs(address.sin_port);
    }
    static Listener forBothProtocols() {
        Listener both;
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        both.listen(AF_INET6, address);
        both.port = ntohs(address.sin6_port);
        return both;
    }

  private:
    void listen(int domain, auto& address) {
        socket.reset(::socket(domain, SOCK_STREAM, 0));
        socklen_t size = sizeof address;
        if (::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            ::listen(socket.get(), 1) != 0 ||
            ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
            socket.reset();
    }
};

TEST(TcpTableTest, APortIsOursWhileAProgramOfThisUserListens) {
    std::uint16_t port = 0;
    {
        const Listener listener;
        ASSERT_TRUE(listener.socket);
        port = listener.port;
        EXPECT_TRUE(isOurPort(port));
    }
    EXPECT_FALSE(isOurPort(port)) << "whoever took the connection has hidden itself";
}

TEST(TcpTableTest, APortThatAnotherUserTookFirstIsNotOurs) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user, too";
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setuid(65534) != 0) ::_exit(1);
        const Listener listener;
        if (::write(pipe[1], &listener.port, sizeof listener.port) < 0) ::_exit(1);
        ::pause();
    }
    std::uint16_t port = 0;
    ASSERT_EQ(::read(pipe[0], &port, sizeof port), static_cast<ssize_t>(sizeof port));
    EXPECT_FALSE(isOurPort(port));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST(TcpTableTest, WhatLiesUnreadIsFoundByBothPorts) {
    const std::string_view connections =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
        "   0: 0100007F:15B3 00000000:0000 0A 00000000:00000007 00:00000000 00000000  1000        0 1 1 x\n"
        "   1: 0100007F:1234 0100007F:15B3 01 00000005:00000006 00:00000000 00000000  1000        0 2 1 x\n"
        "   2: 0200A8C0:15B3 0200A8C0:1234 01 00000000:00000008 00:00000000 00000000  1000        0 3 1 x\n"
        "   3: 0100007F:15B3 0100007F:1234 01 00000009:0001D4C0 00:00000000 00000000  1000        0 4 1 x\n";
    EXPECT_EQ(unreadAtEnd(connections, 5555, 0x1234), 120000U);
    EXPECT_EQ(unreadAtEnd(connections, 0x1234, 5555), 6U);
    EXPECT_EQ(unreadAtEnd(connections, 5555, 0x1235), std::nullopt);
}

TEST(TcpTableTest, WhatTheOtherEndReadsIsSeenWhetherItSpeaksOneProtocolOrBoth) {
    for (const int domain : {AF_INET, AF_INET6}) {
        Listener listener;
        if (domain == AF_INET6) listener = Listener::forBothProtocols();
        if (!listener.socket) GTEST_SKIP() << "no IPv6 here";
        const Descriptor ours(::socket(AF_INET, SOCK_STREAM, 0));
        EXPECT_EQ(unreadBytes(ours.get()), std::nullopt) << "not connected yet";
        const sockaddr_in address = loopback(listener.port);
        ASSERT_EQ(::connect(ours.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        const Descriptor theirs(::accept(listener.socket.get(), nullptr, nullptr));
        EXPECT_EQ(unreadBytes(ours.get()), 0U);

        std::array<char, 5000> bytes{};
        ASSERT_EQ(::send(ours.get(), bytes.data(), bytes.size(), 0), 5000);
        EXPECT_EQ(unreadBytes(ours.get()), 5000U);
        ASSERT_EQ(::recv(theirs.get(), bytes.data(), 1234, 0), 1234);
        EXPECT_EQ(unreadBytes(ours.get()), 3766U);
    }
}

}  // namespace

}  // namespace orvane::test
