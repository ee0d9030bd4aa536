// The status item on a Linux desktop: an icon in the panel, or a small window with the same menu for as long
// as no panel shows it. Main thread only.
#pragma once

#include "linux/tray/EmbeddingTray.h"
#include "linux/tray/StatusNotifierHost.h"
#include "platform/Menu.h"
#include "platform/Surface.h"

#include <QPoint>
#include <QTimer>
#include <memory>
#include <string>

class QSystemTrayIcon;

namespace orvane {

class MenuWindow;
class QtImage;
class QtMenu;
class StatusNotifierItem;
class WindowSupply;

/// Offers the icon over D-Bus to the panels that say that they are there. When within a few seconds none has
/// looked at it, an X11 tray of the older kind is taken if there is one, else the window comes; a panel that
/// looks later takes over from either.
class TrayStatusItem : public StatusItem, private MenuWatcher {
  public:
    /// `supply` outlives it.
    explicit TrayStatusItem(WindowSupply& supply);
    ~TrayStatusItem() override;

    bool hasButton() const override { return true; }
    void clearContentTintColor() override {}
    void setImage(const std::shared_ptr<Image>& image) override;
    void setMenu(const std::shared_ptr<StatusItemMenu>& menu) override;

    /// Raises the window, or pops the menu up. Returns what it did, as the end of a sentence.
    std::string comeForward();

  private:
    void menuChanged() override { soon_.start(0); }

    void hostChanged(bool present);
    void hostLeft();
    void embeddingTrayChanged(bool present);
    void offer();
    void standIn();
    void dropStandIns();
    void dock();
    void showWindow();
    void clicked();
    void answerClick();
    void popUp(QPoint where);
    void toggleWindow();
    void showClickedWindow();
    void refreshImage();
    void refreshStatus();
    void refreshToolTip();

    WindowSupply& supply_;
    std::shared_ptr<QtImage> image_;
    std::shared_ptr<StatusItemMenu> menu_;
    std::unique_ptr<StatusNotifierItem> item_;
    std::unique_ptr<QSystemTrayIcon> docked_;
    std::unique_ptr<MenuWindow> window_;         ///< Stands in for an icon that nobody shows.
    std::unique_ptr<MenuWindow> clickedWindow_;  ///< Where a click cannot pop a menu up.
    std::unique_ptr<QtMenu> popup_;
    QTimer patience_;
    QTimer soon_;
    QTimer click_;  ///< Runs when the icon has been clicked.
    bool hostIsPresent_ = false;
    bool tellsOfProblem_ = false;
    EmbeddingTray embeddingTray_;
    StatusNotifierHost host_;
};

}  // namespace orvane
