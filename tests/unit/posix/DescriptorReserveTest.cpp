// The reserve of descriptors, at a limit of the test's own.
#include "posix/DescriptorReserve.h"
#include "support/OwnResources.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace orvane::test {

namespace {

struct DescriptorReserveTest : testing::Test {
    DescriptorReserveTest() {
        ::getrlimit(RLIMIT_NOFILE, &usual);
        limitTo(200);
    }
    ~DescriptorReserveTest() override { ::setrlimit(RLIMIT_NOFILE, &usual); }

    void limitTo(rlim_t number) const {
        rlimit limit = usual;
        limit.rlim_cur = number;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    /// Takes all that there are and returns how many that were.
    std::size_t takeAll() {
        const std::size_t before = taken.size();
        while (true) {
            Descriptor next(::open("/dev/null", O_RDONLY | O_CLOEXEC));
            if (!next) return taken.size() - before;
            taken.push_back(std::move(next));
        }
    }

    rlimit usual = {};
    std::vector<Descriptor> taken;
};

TEST_F(DescriptorReserveTest, GivesWhatNobodyElseHasTaken) {
    DescriptorReserve reserve;
    takeAll();
    const bool isEnough = reserve.release();
    const std::size_t got = takeAll();
    taken.clear();
    EXPECT_TRUE(isEnough);
    EXPECT_EQ(got, DescriptorReserve::size);
}

TEST_F(DescriptorReserveTest, SaysWhenThereAreTooFew) {
    DescriptorReserve reserve;
    takeAll();
    reserve.release();
    takeAll();
    const bool isEnough = reserve.release();
    taken.resize(taken.size() - DescriptorReserve::enough + 1);
    const bool isAlmostEnough = reserve.release();
    taken.pop_back();
    const bool isEnoughThen = reserve.release();
    taken.clear();
    EXPECT_FALSE(isEnough);
    EXPECT_FALSE(isAlmostEnough);
    EXPECT_TRUE(isEnoughThen);
}

TEST_F(DescriptorReserveTest, IsFilledAgainOnceThereAreManyMore) {
    DescriptorReserve reserve;
    takeAll();
    reserve.release();
    taken.resize(taken.size() - 4);
    reserve.fill();
    EXPECT_EQ(takeAll(), DescriptorReserve::size + 4) << "the rest of the program comes first";
    taken.clear();
    const std::size_t before = openDescriptors();
    reserve.fill();
    reserve.fill();
    EXPECT_EQ(openDescriptors(), before + DescriptorReserve::size);
}

TEST_F(DescriptorReserveTest, TakesNothingWhereThereIsLittle) {
    constexpr std::size_t little = (2 * DescriptorReserve::size) - 1;
    const std::size_t all = takeAll();
    taken.resize(all - little);
    DescriptorReserve reserve;
    const bool isEnough = reserve.release();
    reserve.fill();
    EXPECT_EQ(takeAll(), little);
    taken.clear();
    EXPECT_TRUE(isEnough);
}

}  // namespace

}  // namespace orvane::test
