// The clipboard, the default browser and the notifications of a Linux desktop. Main thread only.
#pragma once

#include "platform/Surface.h"

#include <string>

namespace orvane {

class QtPasteboard : public Pasteboard {
  public:
    void clearContents() override;
    void setString(const std::string& text) override;
};

class QtWorkspace : public Workspace {
  public:
    /// By xdg-open(1), which ends with a status other than 0 when it finds no browser.
    void openUrl(const std::string& url, const std::function<void()>& failed) override;
};

/// Says `sentence` where the desktop shows such things, without a window of this program.
void notify(const std::string& sentence);

}  // namespace orvane
