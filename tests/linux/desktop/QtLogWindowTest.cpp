#include "linux/desktop/QtLogWindow.h"
#include "text/LogText.h"

#include <QCoreApplication>
#include <QScrollBar>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

const LogWindowStyle style{720, 420, "Orvane Server Log", 11};

/// The text of a window that was given the whole log in one piece.
QString shownAtOnce(const LogText& log) {
    QtLogWindow window(style);
    window.update(log);
    window.show();
    return window.toPlainText();
}

struct QtLogWindowTest : testing::Test {
    void append(std::string_view text) {
        log.append(text);
        window.update(log);
    }
    void turn() { QCoreApplication::processEvents(); }

    LogText log{100, 60};
    QtLogWindow window{style};
};

TEST_F(QtLogWindowTest, IsAReadOnlyWindowOfTheSizeTitleAndFontAskedFor) {
    EXPECT_EQ(window.size(), QSize(720, 420));
    EXPECT_EQ(window.windowTitle(), "Orvane Server Log");
    EXPECT_TRUE(window.isReadOnly());
    EXPECT_DOUBLE_EQ(window.font().pointSizeF(), 11);
    EXPECT_FALSE(window.isUndoRedoEnabled());
}

TEST_F(QtLogWindowTest, ShowsWhatTheLogHeldBeforeAndFollowsIt) {
    append("first\n");
    window.makeKeyAndOrderFront();
    EXPECT_EQ(window.toPlainText(), "first\n");
    append("second ✓\n");
    append("third");
    turn();
    EXPECT_EQ(window.toPlainText(), "first\nsecond ✓\nthird");
}

TEST_F(QtLogWindowTest, ManyUpdatesInOneTurnAreOneChangeOfTheView) {
    window.show();
    int changes = 0;
    QObject::connect(&window, &QPlainTextEdit::textChanged, [&] { ++changes; });
    for (int i = 0; i < 20; ++i)
        append("x");
    turn();
    EXPECT_EQ(changes, 1);
}

TEST_F(QtLogWindowTest, ForgetsWhatTheLogHasTrimmed) {
    window.show();
    for (int i = 0; i < 500; ++i) {
        append(std::to_string(i) + "\n");
        if (i % 7 == 0) turn();
    }
    turn();
    EXPECT_EQ(window.toPlainText().toStdString(), log.text());
}

TEST_F(QtLogWindowTest, LineEndsSplitBetweenChunksReadAsInOnePiece) {
    window.show();
    for (const char* chunk : {"a\r", "\nb\r", "c\r", "\r", "\n", "\n", "d\r"}) {
        append(chunk);
        turn();
        EXPECT_EQ(window.toPlainText(), shownAtOnce(log));
    }
    EXPECT_EQ(window.toPlainText(), "a\nb\nc\n\n\nd\n");
}

TEST_F(QtLogWindowTest, CharactersThatMeanFramesToQtAreOnlyText) {
    window.show();
    append("a\uFDD0b\uFDD1c\n<b>&amp;</b>");
    turn();
    EXPECT_EQ(window.toPlainText(), QString::fromUtf8("a\uFFFDb\uFFFDc\n<b>&amp;</b>"));
}

TEST_F(QtLogWindowTest, ScrollsToTheEnd) {
    window.show();
    std::string lines;
    for (int i = 0; i < 40; ++i)
        lines += "\n";
    append(lines + "end");
    turn();
    EXPECT_GT(window.verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(window.verticalScrollBar()->value(), window.verticalScrollBar()->maximum());
}

TEST_F(QtLogWindowTest, ClosingHidesItAndItCanBeShownAgain) {
    window.makeKeyAndOrderFront();
    window.close();
    EXPECT_FALSE(window.isVisible());
    append("while hidden");
    turn();
    window.makeKeyAndOrderFront();
    EXPECT_EQ(window.toPlainText(), "while hidden");
}

TEST_F(QtLogWindowTest, AHiddenWindowDoesNoWork) {
    int changes = 0;
    QObject::connect(&window, &QPlainTextEdit::textChanged, [&] { ++changes; });
    append("unseen");
    turn();
    EXPECT_EQ(changes, 0);
}

}  // namespace

}  // namespace orvane::test
