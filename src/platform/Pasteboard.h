// The clipboard that every program shares. Main thread only.
#pragma once

#include <string>

namespace orvane {

class Pasteboard {
  public:
    virtual ~Pasteboard() = default;
    virtual void clearContents() = 0;
    /// Puts plain text on the clipboard, where it stays after the menu has closed.
    virtual void setString(const std::string& text) = 0;
};

}  // namespace orvane
