#include "linux/EventLoop.h"
#include "posix/Deadline.h"
#include "posix/Descriptor.h"
#include "terminal/LineEditor.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <limits>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* up = "\x1b[A";
constexpr const char* down = "\x1bOB";
constexpr const char* left = "\x1b[D";
constexpr const char* home = "\x1b[1~";
constexpr const char* end = "\x1b[F";

/// An editor on a pseudo-terminal, typed into directly.
class LineEditorTest : public testing::Test {
  protected:
    Descriptor screen;
    Descriptor terminal;
    std::vector<std::string> known;
    std::unique_ptr<TerminalOutput> output;
    std::unique_ptr<LineEditor> editor;

    LineEditorTest() {
        ::setenv("TERM", "xterm", 1);
        const winsize size = {24, 40, 0, 0};
        int far = -1;
        int near = -1;
        EXPECT_EQ(::openpty(&far, &near, nullptr, nullptr, &size), 0);
        screen.reset(far);
        terminal.reset(near);
        ::fcntl(far, F_SETFL, O_NONBLOCK);
        output = std::make_unique<TerminalOutput>(near);
        editor = std::make_unique<LineEditor>(near, *output, [this](std::string_view typed) {
            std::vector<std::string> fitting;
            for (const std::string& line : known)
                if (line.starts_with(typed)) fitting.push_back(line);
            return fitting;
        });
        editor->setPrompt("> ");
    }
    std::string enter(const std::string& keys) {
        const auto typed = editor->type(keys + "\r");
        return typed.lines.empty() ? "(none)" : typed.lines.back();
    }
    /// The kernel brings it in pieces, and does not say whether another is on its way.
    std::string shown() {
        std::string text;
        std::array<char, 65536> buffer;
        while (pollUntil(screen.get(), POLLIN, Deadline::after(std::chrono::milliseconds(20)))) {
            const ssize_t count = ::read(screen.get(), buffer.data(), buffer.size());
            if (count <= 0) break;
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return text;
    }
};

TEST_F(LineEditorTest, LinesAreTakenAsTheyAreFinished) {
    EXPECT_THAT(editor->type("menu\rlo").lines, ElementsAre("menu"));
    EXPECT_THAT(editor->type("g\n\rquit").lines, ElementsAre("log", ""));
    EXPECT_THAT(editor->type("").lines, IsEmpty());
}

TEST_F(LineEditorTest, TheUsualKeysEditTheLine) {
    EXPECT_EQ(enter(std::string("eu") + home + "m" + end + "u\x7f\x08nu" + left + left + "\x1b[3~n"), "menu");
    EXPECT_EQ(enter("one two\x17three"), "one three");
    EXPECT_EQ(enter("forget this\x15this"), "this");
    EXPECT_EQ(enter(std::string("ab\x01") + "x\x05y"), "xaby");
}

TEST_F(LineEditorTest, EarlierLinesComeBack) {
    enter("first");
    enter("second");
    enter("second");
    EXPECT_EQ(enter(up), "second");
    EXPECT_EQ(enter(std::string(up) + up), "first");
    EXPECT_EQ(enter(std::string(up) + up + down + "!"), "first!");
}

TEST_F(LineEditorTest, TextBeyondAsciiIsEditedByCharacters) {
    EXPECT_EQ(enter("Küche 🎤\x7f\x7f!"), "Küche!");
    EXPECT_THAT(editor->type("K\xC3").lines, IsEmpty());
    EXPECT_EQ(enter("\xBC"), "Kü");
    EXPECT_EQ(enter(std::string("é") + left + "x"), "xé");
}

TEST_F(LineEditorTest, WhatIsNoTextOrWouldControlTheTerminalIsReplaced) {
    EXPECT_EQ(enter("a\xff\xc2\x9b\u202e"), "a\uFFFD\uFFFD\uFFFD");
}

TEST_F(LineEditorTest, CharactersOfSeveralCodePointsArriveWhole) {
    for (const char* name :
         {"❤️ phone", "👨‍👩‍👧", "1️⃣", "e\u0301", "👨🏽‍🚀!"}) {
        EXPECT_EQ(enter(name), name) << "typed at once";
        for (const char byte : std::string_view(name))
            editor->type({&byte, 1});
        EXPECT_EQ(enter(""), name) << "typed in pieces";
        EXPECT_EQ(enter(up), name);
    }
    EXPECT_EQ(enter("a\u200Db\uFE0F"), "a\uFFFDb\uFFFD") << "joins and selects nothing";
}

TEST_F(LineEditorTest, WhatShowsNothingIsNotDrawn) {
    shown();
    editor->type("👨\u200D👩\u202E");
    editor->hide();
    editor->show();
    const std::string drawn = shown();
    EXPECT_THAT(drawn, HasSubstr("👨👩"));
    EXPECT_THAT(drawn, Not(HasSubstr("\u200D")));
    EXPECT_THAT(drawn, Not(HasSubstr("\u202E")));
}

TEST_F(LineEditorTest, KeysThatMeanNothingWriteNothing) {
    EXPECT_EQ(enter("a\x1b[15~b\x1b[?1;2cc\x1bxd\x1bOPe\x16\x18"), "abcde");
    EXPECT_EQ(enter("nonsense\x1b"), "nonsense") << "Escape alone";
}

TEST_F(LineEditorTest, AKeyThatComesInPiecesIsOne) {
    editor->type("ab\x1b");
    editor->type("[");
    editor->type("D");
    EXPECT_EQ(enter("x"), "axb");
}

TEST_F(LineEditorTest, ControlDEndsAnEmptyLineOnly) {
    EXPECT_FALSE(editor->type("a\x04").hasEnded);
    const auto typed = editor->type("\rmenu\r\x04more\r");
    EXPECT_THAT(typed.lines, ElementsAre("a", "menu"));
    EXPECT_TRUE(typed.hasEnded);
}

TEST_F(LineEditorTest, ALineIsBounded) {
    const std::string longest(LineEditor::maxLine, 'x');
    EXPECT_EQ(enter(longest + "more"), longest);
    EXPECT_EQ(enter("short"), "short");
    EXPECT_EQ(enter(std::string(LineEditor::maxLine, '\xff')).size(), LineEditor::maxLine / 3 * 3);
}

/// Of this process, for a line pasted at once; the least of several, since others are at work on the machine.
TEST_F(LineEditorTest, ALineFourTimesAsLongCostsFourTimesAsMuch) {
    const auto cost = [this](std::size_t length) {
        std::clock_t least = std::numeric_limits<std::clock_t>::max();
        for (int i = 0; i < 5; ++i) {
            const std::clock_t begin = std::clock();
            enter(std::string(length, 'x'));
            least = std::min(least, std::clock() - begin);
            shown();
        }
        return least;
    };
    const auto ofShort = cost(LineEditor::maxLine / 4);
    EXPECT_LT(cost(LineEditor::maxLine), 8 * ofShort);
}

TEST_F(LineEditorTest, OneFittingCompletionIsTakenAndSeveralAreListed) {
    known = {"restart", "reload", "quit"};
    EXPECT_EQ(enter("q\t"), "quit");
    shown();
    EXPECT_EQ(enter("r\ts\t"), "restart");
    EXPECT_EQ(shown().find("reload"), std::string::npos);
    editor->type("re\t");
    EXPECT_THAT(shown(), HasSubstr("restart\r\nreload\r\n"));
    EXPECT_EQ(enter("l\t"), "reload");
    EXPECT_EQ(enter("x\ty"), "xy");
}

TEST_F(LineEditorTest, ALineOfSeveralRowsIsTakenAwayAsAWhole) {
    editor->type(std::string(100, 'x'));
    shown();
    editor->hide();
    EXPECT_EQ(shown(), "\x1b[2A\r\x1b[J");
    editor->hide();
    EXPECT_EQ(shown(), "");
    editor->show();
    EXPECT_THAT(shown(), HasSubstr("> " + std::string(38, 'x')));
}

TEST_F(LineEditorTest, AfterAResizeTheLineHasTheNewWidth) {
    editor->type(std::string(50, 'x'));
    const winsize wider = {24, 100, 0, 0};
    ::ioctl(screen.get(), TIOCSWINSZ, &wider);
    editor->adapt(false);
    shown();
    editor->show();
    EXPECT_THAT(shown(), EndsWith("> " + std::string(50, 'x')));
    EXPECT_EQ(enter("y"), std::string(50, 'x') + "y");
}

TEST_F(LineEditorTest, TheTerminalsModeIsTakenBackFromWhoeverSetIt) {
    termios mode = {};
    ::tcgetattr(terminal.get(), &mode);
    EXPECT_EQ(mode.c_lflag & (ICANON | ECHO), 0U);
    EXPECT_NE(mode.c_lflag & ISIG, 0U) << "Ctrl-C must go on being a signal";
    mode.c_lflag |= ICANON | ECHO;
    ::tcsetattr(terminal.get(), TCSANOW, &mode);
    editor->type("half");
    editor->adapt(true);
    ::tcgetattr(terminal.get(), &mode);
    EXPECT_EQ(mode.c_lflag & (ICANON | ECHO), 0U);
    EXPECT_EQ(enter(" a line"), "half a line");
}

TEST_F(LineEditorTest, WhatIsTypedAheadIsLeftToWhoeverReadsNext) {
    const auto waiting = [this] {
        int count = 0;
        ::ioctl(terminal.get(), FIONREAD, &count);
        return count;
    };
    ASSERT_EQ(::write(screen.get(), "ahead", 5), 5);
    ASSERT_TRUE(runUntil([&] { return waiting() == 5; })) << "the terminal never brought it";
    editor.reset();
    EXPECT_EQ(waiting(), 5);
}

TEST(LineKeysTest, AKeyIsWholeOrStillToCome) {
    for (const char* whole : {"a", "ü", "🎤", "\n", "\x1b[A", "\x1bOA", "\x1b[1;5C", "\x1b[3~", "\x1bx"})
        EXPECT_EQ(keyLength(std::string(whole) + "\x7f"), std::string(whole).size()) << whole;
    for (const char* part : {"\x1b", "\x1b[", "\x1bO", "\x1b[1;5", "\xC3", "\xF0\x9F"})
        EXPECT_EQ(keyLength(part), 0U) << part;
    EXPECT_EQ(keyLength("\x1b[" + std::string(1000, '1')), 1002U) << "no key at all";
    EXPECT_EQ(keyLength("\x1b\r"), 1U);
    EXPECT_EQ(keyLength("\x1b[1\r"), 3U);
    EXPECT_EQ(keyLength("\xC3x"), 1U);
    EXPECT_EQ(keyLength("\xFF"), 1U);
}

TEST(LineRowsTest, RowsAreCountedInCells) {
    EXPECT_EQ(rowsAboveCursor("", 10), 0);
    EXPECT_EQ(rowsAboveCursor("123456789", 10), 0);
    EXPECT_EQ(rowsAboveCursor("1234567890", 10), 1);
    EXPECT_EQ(rowsAboveCursor("123456789語", 10), 1);
    EXPECT_EQ(rowsAboveCursor("12345678語", 10), 1);
    EXPECT_EQ(rowsAboveCursor("ǘ1234567", 10), 0);
    EXPECT_EQ(rowsAboveCursor(std::string(25, 'x'), 10), 2);
}

}  // namespace

}  // namespace orvane::test
