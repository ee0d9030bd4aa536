// What each text function costs as its input grows. A hostile name or line is as long as its author likes.
#include "text/Canonical.h"
#include "text/Case.h"
#include "text/Characters.h"
#include "text/HarmlessText.h"
#include "text/Lines.h"
#include "text/LogText.h"
#include "text/Marker.h"
#include "text/Trim.h"
#include "text/Utf8.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using Work = std::function<void(const std::string&)>;

/// Seconds of this thread's processor time: what else the machine does hardly counts.
double cost(const Work& work, const std::string& text) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    double least = 1e9;
    for (int round = 0; round < 3; ++round) {
        const double begin = now();
        work(text);
        least = std::min(least, now() - begin);
    }
    return least;
}

std::string repeatedUpTo(const std::string& text, std::size_t bytes) {
    std::string result;
    while (result.size() < bytes)
        result += text;
    return result;
}

struct Function {
    const char* name;
    Work work;
};

const Function functions[] = {
    {"canonicallyEqual", [](const std::string& text) { canonicallyEqual(text, text + "x"); }},
    {"uppercased", [](const std::string& text) { uppercased(text); }},
    {"CharacterCounter", [](const std::string& text) { CharacterCounter().count(text); }},
    {"prefixLength", [](const std::string& text) { prefixLength(text, text.size()); }},
    {"harmless", [](const std::string& text) { harmless(text, Layout::lines); }},
    {"nameFromOutside", [](const std::string& text) { nameFromOutside(text); }},
    {"forEachLine", [](const std::string& text) { forEachLine(text, [](std::string_view) {}); }},
    {"LogText", [](const std::string& text) { LogText(1000, 800).append(text); }},
    {"Marker", [](const std::string& text) { (void)Marker("pairing code: ", ':').find(text); }},
    {"trim", [](const std::string& text) { (void)trimWhitespaceAndNewlines(text); }},
    {"isValidUtf8", [](const std::string& text) { (void)isValidUtf8(text); }},
};

class TextGrowthTest : public testing::TestWithParam<Function> {};

std::string functionName(const testing::TestParamInfo<Function>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Each, TextGrowthTest, testing::ValuesIn(functions), functionName);

TEST_P(TextGrowthTest, FourTimesTheTextCostsAboutFourTimesAsMuch) {
    for (const std::string piece :
         {"\u0301\u0323", "\u200D", "pairing code:", "\n", " ", "\r\n", "\xC2", "ß", "\uAC01"}) {
        const double once = cost(GetParam().work, repeatedUpTo(piece, 32 * 1024));
        const double fourTimes = cost(GetParam().work, repeatedUpTo(piece, 128 * 1024));
        // A quadratic function takes sixteen times as long. Below a millisecond the clock is too coarse to
        // tell.
        EXPECT_LT(fourTimes, std::max(10 * once, 0.001)) << testing::PrintToString(piece);
    }
}

TEST(CanonicalGrowthTest, HundredsOfKilobytesOfMarksAreComparedAtOnce) {
    const std::string text = repeatedUpTo("\u0301\u0323", 128 * 1024);
    const std::string swapped = repeatedUpTo("\u0323\u0301", 128 * 1024);
    EXPECT_TRUE(canonicallyEqual(text, swapped));
    EXPECT_LT(cost([&](const std::string& other) { canonicallyEqual(text, other); }, swapped), 0.25);
}

}  // namespace

}  // namespace orvane::test
