// Queries that are answered, fail, or are never heard of again.
#include "macos/bluetooth/QueryBook.h"
#include "support/TestRunLoop.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr BluetoothStatus timedOut = -77;

}  // namespace

class QueryBookTest : public testing::Test {
  protected:
    void ask(const std::string& address, BluetoothStatus begin = bluetoothSuccess) {
        const auto start = [&] {
            begun.push_back(address);
            return begin;
        };
        book->ask(address, start,
                  [this, address](BluetoothStatus status) { ended.emplace_back(address, status); });
    }

    TestRunLoop loop;
    std::unique_ptr<QueryBook> book = std::make_unique<QueryBook>(loop, timedOut);
    std::vector<std::string> begun;
    std::vector<std::pair<std::string, BluetoothStatus>> ended;
};

TEST_F(QueryBookTest, AnAnswerEndsTheQueryOnce) {
    ask("a");
    EXPECT_TRUE(book->isAsking("a"));
    book->answer("a", 5);
    book->answer("a", 6);
    loop.advance(60);
    EXPECT_FALSE(book->isAsking("a"));
    EXPECT_THAT(ended, ElementsAre(std::pair("a", 5)));
}

TEST_F(QueryBookTest, AQueryThatIsNeverAnsweredTimesOut) {
    ask("a");
    loop.advance(QueryBook::maxWait.count() - 0.1);
    EXPECT_THAT(ended, IsEmpty());
    loop.advance(0.2);
    EXPECT_THAT(ended, ElementsAre(std::pair("a", timedOut)));
    EXPECT_FALSE(book->isAsking("a"));
}

TEST_F(QueryBookTest, ADeviceIsAskedOnceAtATimeAndTheLastToAskHearsTheEnd) {
    ask("a");
    bool heard = false;
    book->ask(
        "a", [] { return ADD_FAILURE(), bluetoothSuccess; }, [&](BluetoothStatus) { heard = true; });
    ask("b");
    EXPECT_THAT(begun, ElementsAre("a", "b"));
    book->answer("a", bluetoothSuccess);
    EXPECT_TRUE(heard);
    EXPECT_THAT(ended, IsEmpty());
    EXPECT_TRUE(book->isAsking("b"));
}

TEST_F(QueryBookTest, AQueryThatCannotBeginFailsLater) {
    ask("a", -3);
    EXPECT_THAT(ended, IsEmpty());
    loop.runPending();
    loop.advance(0);
    EXPECT_THAT(ended, ElementsAre(std::pair("a", -3)));
}

TEST_F(QueryBookTest, TheTimeOutOfAnAnsweredQueryLeavesTheNextAlone) {
    ask("a");
    loop.advance(10);
    book->answer("a", bluetoothSuccess);
    ask("a");
    loop.advance(10);
    EXPECT_TRUE(book->isAsking("a"));
    loop.advance(6);
    EXPECT_THAT(ended, ElementsAre(std::pair("a", bluetoothSuccess), std::pair("a", timedOut)));
}

TEST_F(QueryBookTest, TheEndOfOneQueryMayBeginTheNext) {
    book->ask(
        "a", [] { return bluetoothSuccess; }, [this](BluetoothStatus) { ask("a"); });
    book->answer("a", bluetoothSuccess);
    EXPECT_THAT(begun, ElementsAre("a"));
    EXPECT_TRUE(book->isAsking("a"));
}

TEST_F(QueryBookTest, NothingIsHeardOfABookThatHasGone) {
    ask("a");
    book.reset();
    loop.advance(60);
    EXPECT_THAT(ended, IsEmpty());
}

}  // namespace orvane::test
