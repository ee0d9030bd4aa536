#include "text/Format.h"

#include <limits>
#include <locale>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

TEST(FormatTest, ValuesAreRoundedToTheDigitsAskedFor) {
    EXPECT_EQ(fixedDecimal(0, 1), "0.0");
    EXPECT_EQ(fixedDecimal(11.54, 1), "11.5");
    EXPECT_EQ(fixedDecimal(11.56, 1), "11.6");
    EXPECT_EQ(fixedDecimal(-0.04, 1), "-0.0");
    EXPECT_EQ(fixedDecimal(49.6, 0), "50");
    EXPECT_EQ(fixedDecimal(1e15, 1), "1000000000000000.0");
}

TEST(FormatTest, ATieGoesByTheExactBinaryValue) {
    EXPECT_EQ(fixedDecimal(0.25, 1), "0.2");
    EXPECT_EQ(fixedDecimal(0.75, 1), "0.8");
    EXPECT_EQ(fixedDecimal(0.15, 1), "0.1");  // The double lies just below.
    EXPECT_EQ(fixedDecimal(0.5F * 100, 0), "50");
}

TEST(FormatTest, InfinityAndNanAreWords) {
    EXPECT_EQ(fixedDecimal(std::numeric_limits<double>::infinity(), 1), "inf");
    EXPECT_EQ(fixedDecimal(-std::numeric_limits<double>::infinity(), 1), "-inf");
    EXPECT_EQ(fixedDecimal(std::numeric_limits<double>::quiet_NaN(), 1), "nan");
}

TEST(FormatTest, TheLocaleOfTheProcessDoesNotMatter) {
    struct German : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new German));
    const std::string text = fixedDecimal(1234567.25, 1);
    std::locale::global(before);
    EXPECT_EQ(text, "1234567.2");
}

}  // namespace

}  // namespace orvane::test
