#include "model/Numbers.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

const char* const notIntegers[] = {"",      "+",  "-",   "--1", "+-1", "-+1",       "1-",
                                   " 1",    "1 ", "\t1", "1\t", "1.0", "1e3",       "0x1",
                                   "1,000", "a",  "1a",  "１",  "+ 1", "1\xC2\xA0", "\n1"};

TEST(NumbersTest, SignedIntegersTakeOneSign) {
    EXPECT_EQ(parseSigned("4"), 4);
    EXPECT_EQ(parseSigned("+4"), 4);
    EXPECT_EQ(parseSigned("-4"), -4);
    EXPECT_EQ(parseSigned("-0"), 0);
}

TEST(NumbersTest, LeadingZerosAreAllowed) {
    EXPECT_EQ(parseSigned("007"), 7);
    EXPECT_EQ(parseSigned("-0000000000000000000000000000007"), -7);
    EXPECT_EQ(parseUnsigned("+0007"), 7U);
    EXPECT_EQ(parseUnsigned32("00000000000007"), 7U);
}

TEST(NumbersTest, NothingButDigitsMayFollowTheSign) {
    for (const char* text : notIntegers) {
        EXPECT_FALSE(parseSigned(text)) << text;
        EXPECT_FALSE(parseUnsigned(text)) << text;
        EXPECT_FALSE(parseUnsigned32(text)) << text;
    }
    EXPECT_FALSE(parseSigned(std::string_view("1\0", 2)));
}

TEST(NumbersTest, ANumberEndsWithItsTextWhateverFollowsThere) {
    EXPECT_EQ(parseSigned(std::string_view("-1234").substr(0, 3)), -12);
    EXPECT_EQ(parseUnsigned32(std::string_view("1234").substr(0, 2)), 12U);
}

TEST(NumbersTest, TheEndsOfEachRangeAreInAndTheNextValuesAreOut) {
    EXPECT_EQ(parseSigned("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parseSigned("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    EXPECT_FALSE(parseSigned("9223372036854775808"));
    EXPECT_FALSE(parseSigned("-9223372036854775809"));
    EXPECT_EQ(parseUnsigned("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_FALSE(parseUnsigned("18446744073709551616"));
    EXPECT_EQ(parseUnsigned32("4294967295"), std::numeric_limits<std::uint32_t>::max());
    EXPECT_FALSE(parseUnsigned32("4294967296"));
    EXPECT_FALSE(parseSigned(std::string(400, '9')));
}

TEST(NumbersTest, AnUnsignedMinusIsForZeroOnly) {
    EXPECT_EQ(parseUnsigned("-0"), 0U);
    EXPECT_EQ(parseUnsigned("-000"), 0U);
    EXPECT_FALSE(parseUnsigned("-1"));
    EXPECT_EQ(parseUnsigned32("-0"), 0U);
    EXPECT_FALSE(parseUnsigned32("-1"));
}

TEST(NumbersTest, DoublesAreReadAsTheCLibraryReadsThem) {
    EXPECT_EQ(parseDouble("11.5"), 11.5);
    EXPECT_EQ(parseDouble("-.5"), -0.5);
    EXPECT_EQ(parseDouble("+5."), 5.0);
    EXPECT_EQ(parseDouble("1e2"), 100.0);
    EXPECT_EQ(parseDouble("1E-2"), 0.01);
    EXPECT_EQ(parseDouble("0x1.8p1"), 3.0);
    EXPECT_EQ(parseDouble("0"), 0.0);
    EXPECT_TRUE(std::signbit(*parseDouble("-0")));
}

TEST(NumbersTest, EveryDoubleOfFewDigitsIsTheNearest) {
    std::mt19937_64 random(1);
    for (int round = 0; round < 100'000; ++round) {
        std::string text = std::to_string(random() % 10'000'000'000'000'000U);
        text.erase(0, random() % text.size());
        if (round % 4 != 0) text.insert(random() % (text.size() + 1), ".");
        EXPECT_EQ(parseDouble(text), std::strtod(text.c_str(), nullptr)) << text;
    }
    EXPECT_EQ(parseDouble("95260785.25079429"), 95260785.25079429) << "one digit more";
    EXPECT_FALSE(parseDouble("1.2.3"));
    EXPECT_FALSE(parseDouble("."));
}

TEST(NumbersTest, InfinityAndNanComeInAnyCaseWithASign) {
    for (const char* text : {"inf", "INF", "+Infinity", "iNfInItY"}) {
        EXPECT_EQ(parseDouble(text), std::numeric_limits<double>::infinity()) << text;
    }
    EXPECT_EQ(parseDouble("-inf"), -std::numeric_limits<double>::infinity());
    for (const char* text : {"nan", "NaN", "-NAN", "+nan"}) {
        const auto value = parseDouble(text);
        ASSERT_TRUE(value) << text;
        EXPECT_TRUE(std::isnan(*value)) << text;
    }
}

TEST(NumbersTest, NoWhiteSpaceMayStandBeforeADouble) {
    for (const char* text : {" 1", "\t1", "\n1", "\v1", "\f1", "\r1"})
        EXPECT_FALSE(parseDouble(text));
}

TEST(NumbersTest, ADoubleMustTakeTheWholeText) {
    for (const char* text :
         {"", "1 ", "1\t", "1x", "1.2.3", "1,5", "0x", "1e", "infinit", "nanx", "+", "-", ".", "e1", "--1"}) {
        EXPECT_FALSE(parseDouble(text)) << text;
    }
    EXPECT_FALSE(parseDouble(std::string_view("1\0", 2)));
    EXPECT_FALSE(parseDouble(std::string_view("\0", 1)));
}

TEST(NumbersTest, DoublesThatOverflowOrVanishAreRejected) {
    EXPECT_FALSE(parseDouble("1e400"));
    EXPECT_FALSE(parseDouble("-1e400"));
    EXPECT_FALSE(parseDouble("1e-400"));
    EXPECT_FALSE(parseDouble("-1e-400"));
    EXPECT_EQ(parseDouble("0e-400"), 0.0);
    EXPECT_EQ(parseDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
}

TEST(NumbersTest, DenormalDoublesAreValues) {
    EXPECT_EQ(parseDouble("4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(parseDouble("1e-310"), 1e-310);
}

TEST(NumbersTest, AnEarlierRangeErrorDoesNotMatter) {
    errno = ERANGE;
    EXPECT_EQ(parseDouble("0"), 0.0);
    errno = ERANGE;
    EXPECT_TRUE(parseDouble("inf"));
}

/// Switches the process to a locale with a decimal comma, made for the purpose where there is none, while it
/// lives.
class GermanLocale {
  public:
    GermanLocale() {
        isSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
        if (isSet) return;
        const std::string command = "localedef -i de_DE -f UTF-8 " + folder_ + "/de_DE.UTF-8 2>/dev/null";
        if (std::system(command.c_str()) != 0) return;
        setenv("LOCPATH", folder_.c_str(), 1);
        isSet = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    }
    ~GermanLocale() {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
        std::filesystem::remove_all(folder_);
    }
    GermanLocale(const GermanLocale&) = delete;
    GermanLocale& operator=(const GermanLocale&) = delete;

    bool isSet = false;

  private:
    char template_[32] = "/tmp/orvane-locale-XXXXXX";
    std::string folder_ = mkdtemp(template_);
};

TEST(NumbersTest, TheLocaleOfTheProcessDoesNotMatter) {
    const GermanLocale german;
    if (!german.isSet) GTEST_SKIP() << "localedef could not make a locale: the package locales is missing";
    ASSERT_EQ(std::strtod("11,5", nullptr), 11.5);
    for (const char* text : {"11.5", "1.15e1"})
        EXPECT_EQ(parseDouble(text), 11.5) << text;
    EXPECT_FALSE(parseDouble("11,5"));
}

}  // namespace

}  // namespace orvane::test
