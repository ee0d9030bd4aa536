#include "model/BluetoothOffer.h"

#include <gtest/gtest.h>

namespace orvane::test {

TEST(BluetoothAddressTest, ALetterMeansTheSameInEitherCase) {
    EXPECT_TRUE(sameAddress("aa-bb-cc-dd-ee-ff", "AA-BB-CC-DD-EE-FF"));
    EXPECT_FALSE(sameAddress("aa-bb-cc-dd-ee-ff", "aa-bb-cc-dd-ee-fe"));
    EXPECT_FALSE(sameAddress("aa-bb", "aa-bb-cc"));
}

}  // namespace orvane::test
