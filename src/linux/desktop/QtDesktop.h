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
    void openUrl(const std::string& url) override;
};

}  // namespace orvane
