#include "text/Case.h"

#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

TEST(CaseTest, EveryScriptWithCaseIsUppercased) {
    EXPECT_EQ(uppercased("48k s16 mono"), "48K S16 MONO");
    EXPECT_EQ(uppercased("é ñ ж ω ա \U00010428"), "É Ñ Ж Ω Ա \U00010400");
    EXPECT_EQ(uppercased("ALREADY 語 — ·"), "ALREADY 語 — ·");
    EXPECT_EQ(uppercased(""), "");
}

TEST(CaseTest, CharactersThatUppercaseToSeveralGrow) {
    EXPECT_EQ(uppercased("Straße"), "STRASSE");
    EXPECT_EQ(uppercased("\uFB01 \uFB04"), "FI FFL");       // fi, ffl ligatures
    EXPECT_EQ(uppercased("\u0149"), "\u02BCN");             // n preceded by an apostrophe
    EXPECT_EQ(uppercased("\u01F0"), "J\u030C");             // j with caron
    EXPECT_EQ(uppercased("\u0390"), "\u0399\u0308\u0301");  // iota with dialytika and tonos
    EXPECT_EQ(uppercased("\u0587"), "\u0535\u0552");        // Armenian ech yiwn
    EXPECT_EQ(uppercased("\u1FB3"), "\u0391\u0399");        // alpha with ypogegrammeni
    EXPECT_EQ(uppercased("\u1F88"), "\u1F08\u0399");        // its title-case kin
}

TEST(CaseTest, UppercaseLettersStayThoughTheyFoldToSeveral) {
    EXPECT_EQ(uppercased("\u1E9E"), "\u1E9E");  // capital sharp s
    EXPECT_EQ(uppercased("\u0130"), "\u0130");  // capital i with dot
}

TEST(CaseTest, TitleCaseDigraphsAndSmallRelativesFollow) {
    EXPECT_EQ(uppercased("\u01C5\u01C6"), "\u01C4\u01C4");
    EXPECT_EQ(uppercased("ı \u0345 ς ÿ"), "I \u0399 Σ Ÿ");
}

TEST(CaseTest, BytesThatAreNoTextAreKept) {
    EXPECT_EQ(uppercased("a\xFF\xE2\x80z"), "A\xFF\xE2\x80Z");
    EXPECT_EQ(uppercased("\xEF\xBF\xBD"), "\xEF\xBF\xBD");
    EXPECT_EQ(uppercased(std::string_view("a\0b", 3)), std::string_view("A\0B", 3));
}

}  // namespace

}  // namespace orvane::test
