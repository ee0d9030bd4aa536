#include "model/PhoneSession.h"

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using Fields = std::vector<std::string>;

const Fields kitchen = {"session:", "2",    "5",     "183204",   "42",           "40", "3",
                        "11.5",     "4.25", "voice", "Left mic", "48k s16 mono", "7",  "Kitchen phone"};

std::string join(const Fields& fields) {
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i)
        line += (i == 0 ? "" : "\t") + fields[i];
    return line;
}

/// The example line with one field replaced.
std::optional<PhoneSession> parseWith(std::size_t index, const std::string& text) {
    Fields fields = kitchen;
    fields[index] = text;
    return PhoneSession::parse(join(fields));
}

PhoneSession examplePhone() {
    return *PhoneSession::parse(join(kitchen));
}

TEST(PhoneSessionTest, ALineGivesAllItsFields) {
    const PhoneSession phone = examplePhone();
    EXPECT_EQ(phone.slot, 2);
    EXPECT_EQ(phone.firstChannel, 5);
    EXPECT_EQ(phone.packets, 183204U);
    EXPECT_EQ(phone.bufferMs, 42);
    EXPECT_EQ(phone.targetMs, 40);
    EXPECT_EQ(phone.xruns, 3);
    EXPECT_EQ(phone.rttMs, 11.5);
    EXPECT_EQ(phone.netDelayMs, 4.25);
    EXPECT_EQ(phone.preset, "voice");
    EXPECT_EQ(phone.label, "Left mic");
    EXPECT_EQ(phone.format, "48k s16 mono");
    EXPECT_EQ(phone.deviceId, 7U);
    EXPECT_EQ(phone.name, "Kitchen phone");
}

TEST(PhoneSessionTest, TheMembersAreInTheOrderOfTheLine) {
    const PhoneSession phone{
        2, 5, 183204, 42, 40, 3, 11.5, 4.25, "voice", "Left mic", "48k s16 mono", 7, "Kitchen phone"};
    EXPECT_EQ(phone, examplePhone());
}

TEST(PhoneSessionTest, ThirteenFieldsFailAndATrailingTabMakesAnEmptyName) {
    const std::string line = join(Fields(kitchen.begin(), kitchen.end() - 1));
    EXPECT_FALSE(PhoneSession::parse(line));
    const auto phone = PhoneSession::parse(line + "\t");
    ASSERT_TRUE(phone);
    EXPECT_EQ(phone->name, "");
}

TEST(PhoneSessionTest, TheFirstFieldMustBeTheExactPrefix) {
    for (const char* prefix :
         {"session: ", " session:", "session", "sessions:", "Session:", "", "session:2", "device:"}) {
        EXPECT_FALSE(parseWith(0, prefix)) << prefix;
    }
    EXPECT_FALSE(PhoneSession::parse("session: 2" + join(kitchen).substr(10)));
    EXPECT_FALSE(PhoneSession::parse("\t" + join(kitchen)));
    EXPECT_FALSE(PhoneSession::parse(""));
    EXPECT_FALSE(PhoneSession::parse(std::string(13, '\t')));
}

TEST(PhoneSessionTest, ANameKeepsItsTabs) {
    EXPECT_EQ(parseWith(13, "A\tB")->name, "A\tB");
    EXPECT_EQ(parseWith(13, "\tA\t\tB\t")->name, "\tA\t\tB\t");
}

TEST(PhoneSessionTest, TextIsTakenAsItStands) {
    EXPECT_EQ(parseWith(9, "  voice ")->preset, "  voice ");
    EXPECT_EQ(parseWith(13, " Küche 🎤 \r")->name, " Küche 🎤 \r");
}

TEST(PhoneSessionTest, EmptyTextFieldsAreAccepted) {
    Fields fields = kitchen;
    fields[9] = fields[10] = fields[11] = "";
    const auto phone = PhoneSession::parse(join(fields));
    ASSERT_TRUE(phone);
    EXPECT_EQ(phone->preset + phone->label + phone->format, "");
}

TEST(PhoneSessionTest, AnEmptyNumberFails) {
    for (const std::size_t index : {1, 2, 3, 4, 5, 6, 7, 8, 12})
        EXPECT_FALSE(parseWith(index, "")) << index;
}

TEST(PhoneSessionTest, TwoTabsInARowMakeAnEmptyField) {
    Fields fields = kitchen;
    fields[3] = "\t183204";
    EXPECT_FALSE(PhoneSession::parse(join(fields)));
}

TEST(PhoneSessionTest, IntegersTakeASignAndNothingElse) {
    for (const std::size_t index : {1, 2, 3, 4, 5, 6, 12}) {
        EXPECT_TRUE(parseWith(index, "+4")) << index;
        EXPECT_TRUE(parseWith(index, "007")) << index;
        EXPECT_TRUE(parseWith(index, "-0")) << index;
        for (const char* text : {"+", "-", " 4", "4 ", "4.0", "0x4", "4\r", "four"}) {
            EXPECT_FALSE(parseWith(index, text)) << index << " " << text;
        }
    }
    EXPECT_EQ(parseWith(1, "+4")->slot, 4);
}

TEST(PhoneSessionTest, OnlySignedFieldsMayBeNegative) {
    for (const std::size_t index : {1, 2, 4, 5, 6})
        EXPECT_TRUE(parseWith(index, "-1")) << index;
    EXPECT_FALSE(parseWith(3, "-1"));
    EXPECT_FALSE(parseWith(12, "-1"));
}

TEST(PhoneSessionTest, EachIntegerHasItsOwnRange) {
    for (const std::size_t index : {1, 2, 4, 5, 6}) {
        EXPECT_TRUE(parseWith(index, "9223372036854775807")) << index;
        EXPECT_TRUE(parseWith(index, "-9223372036854775808")) << index;
        EXPECT_FALSE(parseWith(index, "9223372036854775808")) << index;
    }
    EXPECT_EQ(parseWith(3, "18446744073709551615")->packets, std::numeric_limits<std::uint64_t>::max());
    EXPECT_FALSE(parseWith(3, "18446744073709551616"));
    EXPECT_EQ(parseWith(12, "4294967295")->deviceId, std::numeric_limits<std::uint32_t>::max());
    EXPECT_FALSE(parseWith(12, "4294967296"));
}

TEST(PhoneSessionTest, FloatingPointFieldsTakeNoSpaces) {
    for (const std::size_t index : {7, 8}) {
        EXPECT_FALSE(parseWith(index, "11.5 ")) << index;
        EXPECT_FALSE(parseWith(index, " 11.5")) << index;
        EXPECT_FALSE(parseWith(index, "1e400")) << index;
        EXPECT_FALSE(parseWith(index, "soon")) << index;
        EXPECT_TRUE(parseWith(index, "-1")) << index;
        EXPECT_TRUE(parseWith(index, "inf")) << index;
    }
    EXPECT_EQ(parseWith(7, "1e2")->rttMs, 100);
    EXPECT_EQ(parseWith(8, "0x10")->netDelayMs, 16);
}

TEST(PhoneSessionTest, ARecordWithNanIsUnequalToItself) {
    for (const std::size_t index : {7, 8}) {
        const auto phone = parseWith(index, "nan");
        ASSERT_TRUE(phone);
        EXPECT_FALSE(*phone == *phone);
        EXPECT_TRUE(*phone != *phone);
    }
}

TEST(PhoneSessionTest, PositiveAndNegativeZeroAreEqual) {
    EXPECT_EQ(*parseWith(7, "0.0"), *parseWith(7, "-0.0"));
    EXPECT_EQ(*parseWith(8, "0.0"), *parseWith(8, "-0.0"));
}

TEST(PhoneSessionTest, EveryFieldTakesPartInEquality) {
    EXPECT_EQ(examplePhone(), examplePhone());
    const Fields other = {"", "9", "9", "9", "9", "9", "9", "9", "9", "music", "Right", "16k", "9", "Hall"};
    for (std::size_t index = 1; index < kitchen.size(); ++index) {
        EXPECT_NE(*parseWith(index, other[index]), examplePhone()) << index;
    }
}

TEST(PhoneSessionTest, TextsThatDifferInCompositionOnlyAreEqual) {
    for (const std::size_t index : {9, 10, 11, 13}) {
        EXPECT_EQ(*parseWith(index, "caf\u00E9"), *parseWith(index, "cafe\u0301")) << index;
        EXPECT_NE(*parseWith(index, "caf\u00E9"), *parseWith(index, "cafe")) << index;
    }
}

TEST(PhoneSessionTest, OnlyTheExactLabelIsSilent) {
    EXPECT_TRUE(parseWith(10, "(silent)")->isSilent());
    for (const char* label : {"(Silent)", " (silent)", "(silent) ", "silent", ""}) {
        EXPECT_FALSE(parseWith(10, label)->isSilent()) << label;
    }
}

TEST(PhoneSessionTest, TheChannelLabelNamesThePairWithAnEnDash) {
    EXPECT_EQ(examplePhone().channelLabel(), "5\u20136");
    EXPECT_EQ(parseWith(2, "3")->channelLabel(), "3\u20134");
    EXPECT_EQ(parseWith(2, "-1")->channelLabel(), "-1\u20130");
    EXPECT_EQ(parseWith(2, "9223372036854775806")->channelLabel(),
              "9223372036854775806\u20139223372036854775807");
}

TEST(PhoneSessionDeathTest, AChannelWithoutASuccessorEndsTheProgram) {
    const auto phone = parseWith(2, "9223372036854775807");
    ASSERT_TRUE(phone);
    EXPECT_DEATH(phone->channelLabel(), "channelLabel.*overflow");
}

}  // namespace

}  // namespace orvane::test
