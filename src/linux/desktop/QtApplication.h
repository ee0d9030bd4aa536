// The program as a Linux desktop sees it. Main thread only.
#pragma once

#include "platform/Surface.h"

namespace orvane {

class QtApplication : public Application {
  public:
    /// Nothing to do: a program without windows is in no task bar.
    void becomeAccessory() override {}
    void activateIgnoringOtherApps() override { activate_ = true; }
    /// Ends every dialog that waits, too; its answer is then `Alert::aborted` or "Cancel".
    void terminate() override;
    std::unique_ptr<StatusItem> makeStatusItem() override;
    int runModal(const Alert& alert) override;

  private:
    bool activate_ = false;  ///< The next window shown asks for the keyboard.
};

}  // namespace orvane
