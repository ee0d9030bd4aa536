// The clipboard, the default browser and the notifications of a Linux desktop. Main thread only.
#pragma once

#include "platform/Surface.h"

#include <QObject>
#include <string>

namespace orvane {

class QtPasteboard : public QObject, public Pasteboard {
  public:
    QtPasteboard();
    /// Wayland takes a text only from who has been given a key or a click since he has the keyboard, and
    /// some desktops on it hold programs on X11 to something of the kind.
    bool isWithinReach() const override;
    void clearContents() override;
    void setString(const std::string& text) override;

  protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;

  private:
    bool isInUse_ = false;  ///< A window of ours has the keyboard, and a key or a button has been used there.
};

class QtWorkspace : public Workspace {
  public:
    /// By xdg-open(1), which ends with a status other than 0 when it finds no browser.
    void openUrl(const std::string& url, const std::function<void()>& failed) override;
};

/// Says `sentence` where the desktop shows such things, without a window of this program.
void notify(const std::string& sentence);

}  // namespace orvane
