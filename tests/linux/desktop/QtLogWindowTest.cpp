#include "linux/EventLoop.h"
#include "linux/desktop/QtLogWindow.h"
#include "linux/desktop/WindowSupply.h"
#include "text/LogText.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QFile>
#include <QGuiApplication>
#include <QScrollBar>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

const LogWindowStyle style{720, 420, "Orvane Server Log", 11};

/// The text of a window that was given the whole log in one piece.
QString shownAtOnce(const LogText& log) {
    WindowSupply supply{[](const std::string&) {}};
    QtLogWindow window(style, supply);
    window.update(log);
    window.show();
    return window.logText();
}

struct QtLogWindowTest : testing::Test {
    void append(std::string_view text) {
        log.append(text);
        window.update(log);
    }
    void turn() { QCoreApplication::processEvents(); }

    LogText log{100, 60};
    WindowSupply supply{[](const std::string&) {}};
    QtLogWindow window{style, supply};
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
    EXPECT_EQ(window.logText(), "first\n");
    append("second ✓\n");
    append("third");
    turn();
    EXPECT_EQ(window.logText(), "first\nsecond ✓\nthird");
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
    EXPECT_EQ(window.logText().toStdString(), log.text());
}

TEST_F(QtLogWindowTest, LineEndsSplitBetweenChunksReadAsInOnePiece) {
    window.show();
    for (const char* chunk : {"a\r", "\nb\r", "c\r", "\r", "\n", "\n", "d\r"}) {
        append(chunk);
        turn();
        EXPECT_EQ(window.logText(), shownAtOnce(log));
    }
    EXPECT_EQ(window.logText(), "a\nb\nc\n\n\nd\n");
}

TEST_F(QtLogWindowTest, CharactersThatMeanFramesToQtAreOnlyText) {
    window.show();
    append("a\uFDD0b\uFDD1c\n<b>&amp;</b>");
    turn();
    EXPECT_EQ(window.logText(), QString::fromUtf8("a\uFFFDb\uFFFDc\n<b>&amp;</b>"));
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
    EXPECT_EQ(window.logText(), "while hidden");
}

TEST_F(QtLogWindowTest, AHiddenWindowDoesNoWork) {
    int changes = 0;
    QObject::connect(&window, &QPlainTextEdit::textChanged, [&] { ++changes; });
    append("unseen");
    turn();
    EXPECT_EQ(changes, 0);
}

struct LongLogTest : testing::Test {
    void append(std::string_view text) {
        log.append(text);
        window.update(log);
        QCoreApplication::processEvents();
    }

    LogText log;
    WindowSupply supply{[](const std::string&) {}};
    QtLogWindow window{style, supply};
};

TEST_F(LongLogTest, ALineWithoutAnEndIsLaidOutInPiecesAndReadsAsOne) {
    window.show();
    std::string line;
    for (int i = 0; i < 20'000; ++i)
        line += "0123456ä✓";
    append(line);
    append("!");
    EXPECT_TRUE(runUntil([&] { return window.logText().toStdString() == line + "!"; }));
    EXPECT_GT(window.document()->blockCount(), 150);
    for (QTextBlock block = window.document()->begin(); block.isValid(); block = block.next())
        EXPECT_LE(block.length(), LogDocument::maxPiece + 1);
}

TEST_F(LongLogTest, WhatIsTrimmedIsDroppedInTheMiddleOfAPiece) {
    window.show();
    for (int i = 0; i < 30; ++i) {
        append(std::string(9'973, static_cast<char>('a' + i % 26)) + (i % 3 == 0 ? "ä✓🎤\n" : ""));
        EXPECT_EQ(window.logText().toStdString(), log.text());
    }
}

TEST_F(LongLogTest, NoCharacterIsTornBetweenPieces) {
    window.show();
    append(std::string(999, 'x') + "🎤" + std::string(997, 'x') + "a\u0301");
    for (QTextBlock block = window.document()->begin(); block.isValid(); block = block.next())
        EXPECT_TRUE(block.text().isValidUtf16());
    EXPECT_EQ(window.document()->begin().next().next().text(), QString::fromUtf8("a\u0301"));
}

TEST_F(LongLogTest, CopyingAndSavingGiveTheTextWithoutPieces) {
    window.show();
    append("first\r\n" + std::string(2'500, 'x') + "\nlast");
    window.selectAll();
    window.copy();
    const QString expected = "first\n" + QString(2'500, 'x') + "\nlast";
    EXPECT_EQ(QGuiApplication::clipboard()->text(), expected);
    const QTemporaryDir folder;
    EXPECT_EQ(window.saveTo(folder.filePath("log")), "");
    QFile file(folder.filePath("log"));
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()), expected);
    EXPECT_NE(window.saveTo(folder.filePath("no/such/folder")), "");
}

TEST_F(LongLogTest, TextIsFoundAlsoAcrossPiecesInAnyCaseAndAroundTheEnd) {
    window.show();
    append(std::string(998, 'x') + "Needle\nneedle\n");
    const auto place = [&] { return window.logDocument().textPlace(window.textCursor().selectionStart()); };
    window.select(0, 0);
    EXPECT_TRUE(window.findText("NEEDLE"));
    EXPECT_EQ(place(), 998);
    EXPECT_TRUE(window.findText("needle"));
    EXPECT_EQ(place(), 1005);
    EXPECT_TRUE(window.findText("needle"));
    EXPECT_EQ(place(), 998);
    EXPECT_TRUE(window.findText("needle", true));
    EXPECT_EQ(place(), 1005);
    EXPECT_FALSE(window.findText("haystack"));
    EXPECT_FALSE(window.findText(""));
}

TEST_F(LongLogTest, WhatIsNewIsScrolledIntoView) {
    window.show();
    std::string lines;
    for (int i = 0; i < 8'000; ++i)
        lines += "line " + std::to_string(i) + " and some more text\n";
    append(lines);
    const auto isShown = [&] { return window.logText().toStdString() == log.text(); };
    QScrollBar& bar = *window.verticalScrollBar();
    EXPECT_TRUE(runUntil(isShown));
    EXPECT_EQ(bar.value(), bar.maximum());
    bar.setValue(bar.maximum() / 2);
    append(lines.substr(0, 60'000));  // More than the log keeps: its beginning goes.
    EXPECT_TRUE(runUntil(isShown));
    EXPECT_EQ(bar.value(), bar.maximum());
}

}  // namespace

}  // namespace orvane::test
