// What each text function costs as its input grows.
#include "support/Growth.h"
#include "text/Canonical.h"
#include "text/Case.h"
#include "text/Characters.h"
#include "text/HarmlessText.h"
#include "text/Lines.h"
#include "text/LogText.h"
#include "text/Marker.h"
#include "text/Trim.h"
#include "text/Utf8.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using Work = std::function<void(const std::string&)>;

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
    {"trimHorizontalSpace", [](const std::string& text) { (void)trimHorizontalSpace(text); }},
    {"trimSpacesAndTabs", [](const std::string& text) { (void)trimSpacesAndTabs(text); }},
    {"isValidUtf8", [](const std::string& text) { (void)isValidUtf8(text); }},
};

class TextGrowthTest : public testing::TestWithParam<Function> {};

std::string functionName(const testing::TestParamInfo<Function>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Each, TextGrowthTest, testing::ValuesIn(functions), functionName);

TEST_P(TextGrowthTest, MoreTextCostsMoreAsItGrowsAndNoFaster) {
    for (const std::string piece : {"\u0301\u0323", "\u200D", "\U0001F469\u200D", "\u094D\u200D", "\u1100",
                                    "pairing code:", "\n", " ", "\r\n", "\xC2", "ß", "\uAC01"}) {
        SCOPED_TRACE(testing::PrintToString(piece));
        expectLinear(32 * 1024, [&](std::size_t size) {
            return [text = repeatedUpTo(piece, size)] { GetParam().work(text); };
        });
    }
}

TEST(CanonicalGrowthTest, HundredsOfKilobytesOfMarksAreComparedAtOnce) {
    const std::string text = repeatedUpTo("\u0301\u0323", 128 * 1024);
    const std::string swapped = repeatedUpTo("\u0323\u0301", 128 * 1024);
    EXPECT_TRUE(canonicallyEqual(text, swapped));
#ifdef __OPTIMIZE__
    constexpr double limit = 0.05;
#else
    constexpr double limit = 0.25;
#endif
    const double taken = cost([&] { canonicallyEqual(text, swapped); });
    RecordProperty("milliseconds", std::to_string(1000 * taken));
    EXPECT_LT(taken, limit);
}

TEST(LogTextGrowthTest, WhatIsAppendedPieceByPieceCostsNoMoreThanItself) {
    for (const std::string piece : {"x", "\u0301", "line\n", "\U0001F469\u200D"}) {
        SCOPED_TRACE(testing::PrintToString(piece));
        expectLinear(50'000, [&](std::size_t pieces) {
            return [=] {
                LogText log(2000, 1600);
                for (std::size_t i = 0; i < pieces; ++i)
                    log.append(piece);
            };
        });
    }
}

}  // namespace

}  // namespace orvane::test
