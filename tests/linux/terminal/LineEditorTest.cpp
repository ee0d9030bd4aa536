#include "terminal/LineEditor.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

std::string typed(LineEditor& editor, std::string_view bytes) {
    for (const char byte : bytes)
        editor.feed(byte);
    return editor.text();
}

std::string typed(std::string_view bytes) {
    LineEditor editor;
    return typed(editor, bytes);
}

TEST(LineEditorTest, ALineEndsWithEitherLineEnd) {
    LineEditor editor;
    EXPECT_EQ(typed(editor, "menu"), "menu");
    EXPECT_EQ(editor.feed('\n'), LineEditor::Event::line);
    EXPECT_EQ(editor.takeLine(), "menu");
    EXPECT_EQ(editor.text(), "");
    EXPECT_EQ(editor.feed('\r'), LineEditor::Event::line);
}

TEST(LineEditorTest, BackspaceErasesAWholeCharacter) {
    EXPECT_EQ(typed("ab\x7f"), "a");
    EXPECT_EQ(typed("aü\x08"), "a");
    EXPECT_EQ(typed("a日\x7f\x7f\x7f\x7f"), "");
}

TEST(LineEditorTest, ControlUErasesTheLineAndControlWAWord) {
    EXPECT_EQ(typed("choose 9\x15menu"), "menu");
    EXPECT_EQ(typed("choose Show Log  \x17"), "choose Show ");
    EXPECT_EQ(typed("one\x17\x17"), "");
}

TEST(LineEditorTest, ControlDEndsTheInputOnAnEmptyLineOnly) {
    LineEditor editor;
    editor.feed('x');
    EXPECT_EQ(editor.feed('\x04'), LineEditor::Event::none);
    editor.feed('\x7f');
    EXPECT_EQ(editor.feed('\x04'), LineEditor::Event::end);
}

TEST(LineEditorTest, ArrowsAndFunctionKeysWriteNothing) {
    EXPECT_EQ(typed("a\x1b[Ab\x1b[1;5Cc\x1bOPd\x1b[3~e\x1bxf"), "abcdef");
    EXPECT_EQ(typed("\t\x01z"), "z");
}

TEST(LineEditorTest, AKeyAfterEscapeIsHeard) {
    LineEditor editor;
    for (const char byte : {'4', '\x1b'})
        EXPECT_EQ(editor.feed(byte), LineEditor::Event::none);
    EXPECT_EQ(editor.feed('\n'), LineEditor::Event::line);
    EXPECT_EQ(editor.takeLine(), "4");
    for (const char byte : {'\x1b', '\x1b', '[', 'A', '5', '\x1b', '['})
        EXPECT_EQ(editor.feed(byte), LineEditor::Event::none);
    EXPECT_EQ(editor.feed('\r'), LineEditor::Event::line);
    EXPECT_EQ(editor.takeLine(), "5");
}

TEST(LineEditorTest, ALongLineIsCutBetweenCharacters) {
    LineEditor editor;
    const auto type = [&](std::string_view text) {
        for (const char byte : text)
            editor.feed(byte);
    };
    type(std::string(LineEditor::maxLine - 2, 'a') + "日x");
    EXPECT_EQ(editor.text(), std::string(LineEditor::maxLine - 2, 'a'));
    type("\b日z");
    EXPECT_EQ(editor.takeLine(), std::string(LineEditor::maxLine - 3, 'a') + "日");
    type("b");
    EXPECT_EQ(editor.text(), "b");
}

TEST(LineEditorTest, AnEndlessLineIsCut) {
    LineEditor editor;
    EXPECT_EQ(typed(editor, std::string(10'000, 'x')).size(), LineEditor::maxLine);
    EXPECT_EQ(editor.feed('\n'), LineEditor::Event::line);
}

TEST(TailWithinTest, TakesWholeCharactersFromTheEndByTheirWidth) {
    EXPECT_EQ(tailWithin("choose 9", 80), "choose 9");
    EXPECT_EQ(tailWithin("choose 9", 3), "e 9");
    EXPECT_EQ(tailWithin("日本語", 5), "本語");
    EXPECT_EQ(tailWithin("xe\u0301", 1), "e\u0301");
    EXPECT_EQ(tailWithin("abc", 0), "");
    EXPECT_EQ(tailWithin("abc", -5), "");
    EXPECT_EQ(tailWithin("", 5), "");
}

}  // namespace

}  // namespace orvane::test
