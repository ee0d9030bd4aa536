// A question with its buttons, as a dialog of the desktop. Main thread only.
#pragma once

#include "platform/Surface.h"

#include <QDialog>

class QHBoxLayout;

namespace orvane {

/// Shows every text as it is, without markup or access keys, and the buttons in the order given, the first as
/// the default.
class AlertDialog : public QDialog {
  public:
    explicit AlertDialog(const Alert& alert);

    /// Shows the question and waits for its answer. A button leaves the dialog on the screen: where only the
    /// window in use can set the clipboard, it is needed until the answer has been acted on.
    void ask();
    /// The button pressed, as `Application::runModal` reports it. Escape and closing the dialog
    /// answer `Alert::closingAnswer`.
    int answer() const { return answer_; }

  private:
    void addButtons(QHBoxLayout& row, const Alert& alert);

    int answer_;
};

}  // namespace orvane
