// The program as a Linux desktop sees it. Main thread only.
#pragma once

#include "platform/Surface.h"

#include <QTimer>
#include <memory>
#include <string>

namespace orvane {

class AlertDialog;
class TrayStatusItem;
class WindowSupply;

class QtApplication : public Application {
  public:
    /// `supply` outlives it.
    explicit QtApplication(WindowSupply& supply);
    ~QtApplication() override;

    /// Nothing to do: a program without windows is in no task bar.
    void becomeAccessory() override {}
    /// Raises the question that waits, if there is one; else the next window shown asks for the keyboard.
    void activateIgnoringOtherApps() override;
    /// Ends every dialog that waits, too; its answer is then `Alert::closingAnswer`.
    void terminate() override;
    std::unique_ptr<StatusItem> makeStatusItem() override;
    /// Where no window can be shown the answer is `Alert::closingAnswer`.
    int runModal(const Alert& alert) override;
    void setLinked(bool) override {}  // Nothing is slowed down here.

    /// Shows the user what there is, because the program was started once more: the question that waits, or
    /// the menu. Returns what it did, as the end of a sentence.
    std::string comeForward();

  private:
    void putAway();

    WindowSupply& supply_;
    bool activate_ = false;                  ///< The next window shown asks for the keyboard.
    AlertDialog* dialog_ = nullptr;          ///< The question that waits.
    std::unique_ptr<AlertDialog> answered_;  ///< On the screen until its text has been copied.
    QTimer lingering_;                       ///< Until it goes.
    TrayStatusItem* statusItem_ = nullptr;   ///< Lives as long as the program runs.
};

}  // namespace orvane
