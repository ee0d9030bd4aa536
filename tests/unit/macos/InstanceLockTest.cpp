// The lock that the first copy of the program holds.
#include "macos/system/InstanceLock.h"

#include <cstdlib>
#include <filesystem>
#include <optional>

#include <gtest/gtest.h>

namespace orvane::test {

TEST(InstanceLockTest, TheFirstHoldsItUntilItGoes) {
    char pattern[] = "/tmp/orvane-lock-XXXXXX";
    const std::filesystem::path folder = ::mkdtemp(pattern);
    std::optional<InstanceLock> first(folder / "lock");
    EXPECT_TRUE(first->isFirst());
    EXPECT_FALSE(InstanceLock(folder / "lock").isFirst());
    first.reset();
    EXPECT_TRUE(InstanceLock(folder / "lock").isFirst());
    std::filesystem::remove_all(folder);
}

TEST(InstanceLockTest, WithoutAFileEverybodyIsFirst) {
    EXPECT_TRUE(InstanceLock("/nowhere/at/all").isFirst());
}

}  // namespace orvane::test
