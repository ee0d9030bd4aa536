// The status item on a Linux desktop: an icon in the panel's tray, or a small window with the same menu for
// as long as there is no tray. Main thread only.
#pragma once

#include "linux/desktop/StatusNotifierHost.h"
#include "platform/Menu.h"
#include "platform/Surface.h"

#include <QTimer>
#include <memory>
#include <string>

class QSystemTrayIcon;

namespace orvane {

class MenuWindow;
class QtImage;
class QtMenu;

/// Qt decides once, with the first tray icon, whether icons go to a StatusNotifier host, and never asks
/// again: so the first icon is made only when a host is there. When none has come within a few seconds, an
/// X11 tray of the older kind is taken if there is one, else the window comes; a host that comes later takes
/// over from the window.
class TrayStatusItem : public StatusItem {
  public:
    TrayStatusItem();
    ~TrayStatusItem() override;

    bool hasButton() const override { return true; }
    void clearContentTintColor() override {}
    void setImage(const std::shared_ptr<Image>& image) override;
    void setMenu(const std::shared_ptr<Menu>& menu) override;

    /// Raises the window, or pops the menu up. Returns what it did, as the end of a sentence.
    std::string comeForward();

  private:
    enum class Surface { none, dbusTray, embeddedTray, window };

    void hostChanged(bool present);
    void patienceEnded();
    void show(Surface surface);
    void makeTrayIcon();
    void popUp();
    void refreshImage();
    void refreshToolTip();

    Surface surface_ = Surface::none;
    std::shared_ptr<QtImage> image_;
    std::shared_ptr<Menu> menu_;
    std::unique_ptr<QtMenu> mirror_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    std::unique_ptr<MenuWindow> window_;
    QTimer patience_;
    StatusNotifierHost host_;
};

}  // namespace orvane
