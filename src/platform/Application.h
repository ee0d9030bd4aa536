// The application as the system sees it, and the things it can show besides the menu. Main thread only.
#pragma once

#include "platform/StatusItem.h"

#include <memory>
#include <string>
#include <vector>

namespace orvane {

/// A modal question. `runModal` answers with `firstButtonReturn` + the index of the button pressed, or
/// `aborted` when it was closed without one.
struct Alert {
    static constexpr int firstButtonReturn = 1000;
    static constexpr int aborted = -1001;

    std::string messageText;
    std::string informativeText;
    std::vector<std::string> buttons;  ///< In order; the first is the default.
};

class Application {
  public:
    virtual ~Application() = default;
    /// No dock icon, no main menu: a status item only.
    virtual void becomeAccessory() = 0;
    /// Brings the program to the front, whatever other program is there.
    virtual void activateIgnoringOtherApps() = 0;
    /// Leaves the run loop. `AppDelegate::applicationWillTerminate` is called on the way out.
    virtual void terminate() = 0;
    /// Makes an item of variable width in the status bar.
    virtual std::unique_ptr<StatusItem> makeStatusItem() = 0;
    /// Shows the question and blocks until it is answered; blocks of the main queue go on being run
    /// meanwhile.
    virtual int runModal(const Alert& alert) = 0;
};

}  // namespace orvane
