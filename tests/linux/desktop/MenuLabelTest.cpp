#include "linux/desktop/MenuLabel.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

/// What a host that follows com.canonical.dbusmenu shows.
QString readByHost(const QString& label) {
    QString shown;
    for (qsizetype at = 0; at < label.size(); ++at) {
        if (label[at] == u'_' && ++at == label.size()) break;
        shown += label[at];
    }
    return shown;
}

/// What GNOME's extension shows: `label.replace(/_([^_])/, '$1')`.
QString readByGnome(QString label) {
    for (qsizetype at = 0; at + 1 < label.size(); ++at) {
        if (label[at] == u'_' && label[at + 1] != u'_') return label.remove(at, 1);
    }
    return label;
}

/// What QMenu shows: `&&` is one, any other is an access key's mark.
QString shownByQt(const QString& label) {
    QString shown;
    for (qsizetype at = 0; at < label.size(); ++at) {
        if (label[at] == u'&' && ++at == label.size()) break;
        shown += label[at];
    }
    return shown;
}

class LiteralTitleTest : public testing::TestWithParam<const char*> {};

TEST_P(LiteralTitleTest, IsReadExactlyByAStatusNotifierHost) {
    EXPECT_EQ(readByHost(dbusLabel(GetParam())), QString::fromUtf8(GetParam()));
}

TEST_P(LiteralTitleTest, IsReadExactlyByGnome) {
    EXPECT_EQ(readByGnome(gnomeLabel(GetParam())), QString::fromUtf8(GetParam()));
}

TEST_P(LiteralTitleTest, IsShownExactlyByQt) {
    EXPECT_EQ(shownByQt(plainLabel(GetParam())), QString::fromUtf8(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(MenuLabel, LiteralTitleTest,
                         testing::Values("", "Show Log", "R&D _x", "&", "_", "&&", "__", "a&", "a_", "_&_&",
                                         "&_&_", "R&D _spare __init__ 100% <b>", "_a_b_", "a & b && c __ d_",
                                         "<b>bold</b> &amp; &#65;", "%s %1 \\n", "🎤 Zoë 日本", "שלום",
                                         "Phones: none", "Kitchen   →   ch 3–4  ⚠ 2"));

TEST(MenuLabelTest, TheDesktopTellsHowItsPanelReads) {
    EXPECT_EQ(dbusLabelWriter({"ubuntu", "GNOME"}), gnomeLabel);
    EXPECT_EQ(dbusLabelWriter({"XFCE"}), dbusLabel);
    EXPECT_EQ(dbusLabelWriter({""}), dbusLabel);
}

TEST(MenuLabelTest, ATabDoesNotStartAColumnInAMenuOfQt) {
    EXPECT_FALSE(plainLabel("left\tright").contains(u'\t'));
    EXPECT_EQ(dbusLabel("left\tright"), QString::fromUtf8("left␉right"));
}

TEST(MenuLabelTest, WhatIsNoTextIsShownAsSymbolsOnEveryPath) {
    for (const LabelWriter writer : {plainLabel, dbusLabel, gnomeLabel}) {
        EXPECT_EQ(writer("a\nb\x1b[31m"), QString::fromUtf8("a␊b␛[31m"));
        EXPECT_EQ(writer("\u009bx\u202Ey\u200Bz"), QString::fromUtf8("\uFFFDx\uFFFDy\uFFFDz"));
    }
}

TEST(MenuLabelTest, NulDoesNotCutALabelOverDBus) {
    EXPECT_EQ(dbusLabel(std::string("a\0b", 3)), QString::fromUtf8("a␀b"));
}

TEST(MenuLabelTest, ANameCannotTurnTheWritingDirectionOfItsRow) {
    EXPECT_FALSE(plainLabel("\u202Egnol").contains(QChar(0x202E)));
}

TEST(MenuLabelTest, InvalidUtf8IsShownAsReplacementCharacters) {
    EXPECT_EQ(plainLabel("a\xFF"), QString::fromUtf8("a\uFFFD"));
    EXPECT_EQ(dbusLabel("a\xFF"), QString::fromUtf8("a\uFFFD"));
}

TEST(MenuLabelTest, WhatNobodyReadsToItsEndIsCut) {
    const std::string most(4096, 'x');
    EXPECT_EQ(plainLabel(most), QString::fromStdString(most));
    for (const LabelWriter writer : {plainLabel, dbusLabel, gnomeLabel})
        EXPECT_EQ(writer(most + std::string(1'000'000, 'y')), QString::fromStdString(most + "…"));
}

}  // namespace

}  // namespace orvane::test
