#include "macos/inspection/PortListing.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

constexpr const char* netstat =
    "Active Internet connections (including servers)\n"
    "Proto Recv-Q Send-Q  Local Address          Foreign Address        (state)    \n"
    "tcp4       0      0  192.168.1.2.52100      17.57.146.20.5223      ESTABLISHED\n"
    "tcp4       0      0  127.0.0.1.6666         *.*                    LISTEN     \n"
    "tcp46      0      0  *.5555                 *.*                    LISTEN     \n"
    "tcp4       0      0  127.0.0.1.7777         127.0.0.1.5555         ESTABLISHED\n";

TEST(PortListingTest, OnlyAListenerAtThatVeryPortCounts) {
    EXPECT_TRUE(listsListener(netstat, 5555));
    EXPECT_TRUE(listsListener(netstat, 6666));
    for (const std::uint16_t port : {7777, 5223, 555, 55, 666})
        EXPECT_FALSE(listsListener(netstat, port)) << port;
    EXPECT_FALSE(listsListener("", 5555));
}

TEST(PortListingTest, TheFirstProcessIsTheHolder) {
    EXPECT_EQ(listedHolder("p123\ncorvaned\nLanna\nf5\np124\ncother\nLbob\nf3\n"),
              (ListedHolder{123, "orvaned", "anna"}));
    EXPECT_EQ(listedHolder(""), ListedHolder{});
    EXPECT_EQ(listedHolder("f5\n"), ListedHolder{});
}

}  // namespace

}  // namespace orvane::test
