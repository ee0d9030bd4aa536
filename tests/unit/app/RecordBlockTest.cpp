#include "app/RecordBlock.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;
using testing::IsEmpty;

class RecordBlockTest : public testing::Test {
  protected:
    void open(std::int64_t count) { block_.open(count, listed_); }
    void add(std::optional<int> record) { block_.add(record, listed_); }
    void addMany(int count) {
        for (int i = 0; i < count; ++i)
            add(i);
    }

    std::vector<std::vector<int>> lists_;
    std::function<void()> whileListed_ = [] {};

  private:
    RecordBlock<int> block_;
    std::function<void(std::vector<int>)> listed_ = [this](std::vector<int> list) {
        lists_.push_back(std::move(list));
        whileListed_();
    };
};

TEST_F(RecordBlockTest, TellsTheListWithItsLastRecordAndThenNothingMore) {
    open(2);
    add(1);
    EXPECT_THAT(lists_, IsEmpty());
    add(2);
    add(3);
    EXPECT_THAT(lists_, ElementsAre(ElementsAre(1, 2)));
}

TEST_F(RecordBlockTest, IsAtItsEndWhenItTellsTheList) {
    whileListed_ = [this] { add(2); };
    open(1);
    add(1);
    EXPECT_THAT(lists_, ElementsAre(ElementsAre(1)));
}

TEST_F(RecordBlockTest, ARecordThatCouldNotBeReadIsWaitedForAgain) {
    open(1);
    add(std::nullopt);
    EXPECT_THAT(lists_, IsEmpty());
    add(1);
    EXPECT_THAT(lists_, ElementsAre(ElementsAre(1)));
}

TEST_F(RecordBlockTest, TheLongestListThatIsCollectedHas65536Records) {
    open(65'537);
    addMany(65'537);
    EXPECT_THAT(lists_, IsEmpty());
    open(65'536);
    addMany(65'536);
    ASSERT_EQ(lists_.size(), 1U);
    EXPECT_EQ(lists_.front().size(), 65'536U);
}

}  // namespace orvane::test
