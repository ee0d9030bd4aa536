// A line being typed at a terminal, edited with libedit: history, cursor keys, Home and End, completion.
//
// libedit reads what it is given and nothing of the terminal itself, so that it never waits; what it would
// draw is written to a `TerminalOutput`. It is given whole keys only, and none of those after which it would
// ask for another one at once. Main thread only; the locale's text is UTF-8, as Qt sees to.
#pragma once

#include "terminal/EditLibrary.h"
#include "terminal/TerminalOutput.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// The length of the first key in `bytes`, which is not empty: a character, a control character, or the
/// sequence that a key such as an arrow sends (ECMA-48, 5.4). 0 while the rest of it is still to come.
std::size_t keyLength(std::string_view bytes);

/// The rows of a screen that lie above the cursor when `text` has been written from its left edge on.
int rowsAboveCursor(std::string_view text, int columns);

class LineEditor {
  public:
    /// Longer lines lose what is beyond this.
    static constexpr std::size_t maxLine = 4096;  ///< In bytes.

    /// What a typed beginning may become, each as a whole.
    using Complete = std::function<std::vector<std::string>(std::string_view typed)>;
    struct Typed {
        std::vector<std::string> lines;  ///< Finished ones.
        bool hasEnded = false;           ///< Ctrl-D on an empty line; what comes after it is left out.
    };

    /// False where the screen is so large that keeping it would cost seconds. No screen is, but a size can be
    /// set at will.
    static bool canEditOn(int terminal);

    /// Where there is libedit. Changes the mode of `terminal`, which stays open and belongs to this program's
    /// job now; the editor does not put it back. `output` leads to the same terminal and outlives the editor.
    LineEditor(int terminal, TerminalOutput& output, Complete complete);
    ~LineEditor();

    /// While nothing is shown.
    void setPrompt(const std::string& prompt) { prompt_ = prompt; }
    /// Takes what was typed, and shows it.
    Typed type(std::string_view bytes);

    /// Prompt and line, where the cursor is now; or neither, and the cursor where they began.
    void show();
    void hide();
    /// The terminal has another size, or a mode that somebody else has set. `isElsewhere`: others have
    /// written there, and the cursor is where they have left it.
    void adapt(bool isElsewhere);

  private:
    static int nextCharacter(EditLine* editLine, wchar_t* character);
    static char* promptOf(EditLine* editLine);
    static unsigned char completeIn(EditLine* editLine, int);

    void bindKeys();
    void press(std::string_view key, Typed& typed);
    void insert(std::string_view text);
    void insertOne(const std::string& typed, const std::string& shown);
    void feed(const std::u32string& key);
    void finishLine(Typed& typed);
    void beginLine();
    unsigned char completeTyped();
    std::string beforeCursor() const;
    std::size_t length() const;
    void writeDrawn();
    void dropDrawn();

    const EditLibrary& edit_ = *editLibrary();
    const int terminal_;
    TerminalOutput& output_;
    const Complete complete_;
    std::string prompt_;
    std::string pending_;   ///< The beginning of a key.
    std::u32string given_;  ///< The key that libedit is reading.
    bool isShown_ = false;

    char* drawn_ = nullptr;
    std::size_t drawnSize_ = 0;
    std::FILE* drawing_;  ///< Into `drawn_`.
    History* history_;
    EditLine* editLine_;
};

}  // namespace orvane
