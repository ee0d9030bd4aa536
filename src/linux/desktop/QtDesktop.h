// The clipboard and the default browser of a Linux desktop. Main thread only.
#pragma once

#include "platform/Surface.h"

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

}  // namespace orvane
