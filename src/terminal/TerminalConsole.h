// The terminal, or the pipes in its place: lines in, text out. On a real terminal the line being typed stays
// below what is printed meanwhile. Main thread only.
#pragma once

#include "posix/Descriptor.h"
#include "terminal/LineEditor.h"
#include "terminal/TerminalOutput.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <termios.h>

namespace orvane {

/// Gets what is typed, a line a turn of the event loop.
class TerminalListener {
  public:
    virtual ~TerminalListener() = default;
    virtual void lineEntered(const std::string& line) = 0;
    /// What the beginning of a line may become, each as a whole.
    virtual std::vector<std::string> completions(std::string_view typed) = 0;
    /// The input has ended: Ctrl-D, the terminal has gone, or whoever wrote into the pipe has closed it.
    virtual void inputEnded() = 0;
};

/// False for a device that is no terminal, as a service has it (/dev/null), and for what is closed: nothing
/// is ever typed there.
bool saysSomething(int descriptor);

/// At most one in a program, made before any child starts: it takes standard input for itself and leaves
/// /dev/null in its place, so that no child reads what is meant for the menu.
///
/// No input at all (closed, or /dev/null) is not an end of input. Output is as `TerminalOutput` says; control
/// sequences are written only when input and output are a terminal that knows them, and that terminal's mode
/// is put back at the end.
class TerminalConsole {
  public:
    explicit TerminalConsole(int input = STDIN_FILENO, int output = STDOUT_FILENO);
    ~TerminalConsole();

    /// Prints whole lines, made harmless by the caller.
    void print(std::string_view lines);

    /// Gives what is entered from now on to `listener`, which is not owned. One that comes after the end of
    /// the input hears of the end, too. Returns the one before.
    TerminalListener* setListener(TerminalListener* listener);
    void setPrompt(const std::string& prompt);
    /// The log is printed as it grows, until something is typed; on a terminal that key is for this alone.
    void followLog() { followsLog_ = true; }
    bool followsLog() const { return followsLog_; }
    bool isOnTerminal() const { return inputIsTerminal_ || outputIsTerminal_; }
    /// The terminal's path; empty when the input is none, or one that has no path here.
    std::string terminalName() const;

  private:
    void takeInput(int descriptor);
    void watchTerminal();
    bool isInBackground() const;
    void edit();
    void editAgain();
    void leaveLineEditing();
    void read();
    void takeTyped(std::string_view bytes);
    void takePlain(std::string_view bytes);
    void end();

    void scheduleDelivery();
    void deliver();

    void hidePrompt();
    void showPromptSoon();
    void showPrompt();

    QObject context_;  ///< Blocks posted for later go with it.
    TerminalOutput output_;
    bool outputIsTerminal_;
    Descriptor input_;
    std::unique_ptr<QSocketNotifier> notifier_;
    Descriptor changes_;  ///< Readable when the terminal has another size, or is this job's again.
    std::unique_ptr<QSocketNotifier> changesNotifier_;
    QTimer rest_;  ///< In the background, until the foreground is looked for again.
    bool inputIsTerminal_ = false;
    bool inputIsShared_ = false;           ///< It could not be opened anew: reading it waits.
    bool mayEdit_ = false;                 ///< On a terminal that knows control sequences, with libedit.
    std::optional<termios> originalMode_;  ///< Of the terminal, while lines are edited here.

    std::unique_ptr<LineEditor> editor_;  ///< Where `mayEdit_`, unless the screen is too large.
    std::string beginning_;               ///< Of a line that comes without an editor.
    std::deque<std::string> lines_;
    TerminalListener* listener_ = nullptr;
    bool hasEnded_ = false;
    bool endIsTold_ = false;
    bool deliveryIsScheduled_ = false;

    bool followsLog_ = false;

    std::string prompt_;
    bool promptIsScheduled_ = false;
};

}  // namespace orvane
