#include "linux/desktop/MenuLabel.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

/// What Qt 6.4 sends over D-Bus for a label: its first `&`, unless it stands at the end, becomes `_`.
QString sentByQt(QString label) {
    const auto at = label.indexOf(u'&');
    if (at >= 0 && at < label.size() - 1) label[at] = u'_';
    return label;
}

/// What a host that follows com.canonical.dbusmenu shows.
QString readByHost(const QString& label) {
    QString shown;
    for (qsizetype at = 0; at < label.size(); ++at) {
        if (label[at] == u'_' && ++at == label.size()) break;
        shown += label[at];
    }
    return shown;
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
    EXPECT_EQ(readByHost(sentByQt(dbusLabel(GetParam()))), QString::fromUtf8(GetParam()));
}

TEST_P(LiteralTitleTest, IsShownExactlyByQt) {
    EXPECT_EQ(shownByQt(plainLabel(GetParam())), QString::fromUtf8(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(MenuLabel, LiteralTitleTest,
                         testing::Values("", "Show Log", "R&D _x", "&", "_", "&&", "__", "a&", "a_", "_&_&",
                                         "&_&_", "a & b && c __ d_", "<b>bold</b> &amp; &#65;", "%s %1 \\n",
                                         "🎤 Zoë 日本", "שלום", "Phones: none", "Kitchen   →   ch 3–4  ⚠ 2"));

TEST(MenuLabelTest, ATabDoesNotStartAColumnInAMenuOfQt) {
    EXPECT_FALSE(plainLabel("left\tright").contains(u'\t'));
    EXPECT_EQ(dbusLabel("left\tright"), QStringLiteral("left\tright"));
}

TEST(MenuLabelTest, ControlCharactersAreShownAsSymbolsInAMenuOfQt) {
    EXPECT_EQ(plainLabel("a\nb\x1b[31m"), QString::fromUtf8("a␊b␛[31m"));
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

}  // namespace

}  // namespace orvane::test
