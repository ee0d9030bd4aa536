// The program on a terminal. Main thread only.
#pragma once

#include "platform/Surface.h"
#include "terminal/TerminalConsole.h"

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// The question with its numbered buttons, as lines.
std::string questionText(const Alert& alert);
/// What `runModal` returns for the line typed: a button's number, its title, or the beginning of one title
/// only. Nothing when the line says neither.
std::optional<int> answerOf(const Alert& alert, std::string_view line);

class TerminalApplication : public Application {
  public:
    /// `console` outlives it.
    explicit TerminalApplication(TerminalConsole& console) : console_(console) {}

    void becomeAccessory() override {}
    void activateIgnoringOtherApps() override {}
    void terminate() override;
    std::unique_ptr<StatusItem> makeStatusItem() override;
    /// The end of the input, and of the program, answer `Alert::aborted`.
    int runModal(const Alert& alert) override;
    void setLinked(bool) override {}  // Nothing is slowed down here.

    /// Says that the program was started once more. Returns where its menu is, as the end of a sentence.
    std::string comeForward();

  private:
    TerminalConsole& console_;
};

}  // namespace orvane
