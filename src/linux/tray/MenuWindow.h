// The status menu as a small window: for a desktop without a tray, and where a click cannot pop a menu up.
// Main thread only.
#pragma once

#include "platform/Menu.h"

#include <QWidget>
#include <memory>
#include <vector>

class QLabel;
class QVBoxLayout;

namespace orvane {

class MenuRow;
class QtImage;
enum class Badge;

/// Shows the status row beside the icon, and the other rows below it.
class MenuWindow : public QWidget, private MenuWatcher {
  public:
    /// What closing the window means. It quits where the window is all that there is of the program.
    enum class Closing { quits, hides };

    MenuWindow(std::shared_ptr<StatusItemMenu> menu, Closing closing);
    ~MenuWindow() override;

    void setImage(const QtImage& image, Badge badge);

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void menuChanged() override;
    void refresh();
    void rebuild();
    QWidget* makeRow(const std::shared_ptr<MenuItem>& item);

    std::shared_ptr<StatusItemMenu> menu_;
    Closing closing_;
    QLabel* icon_;
    QLabel* status_;
    QVBoxLayout* list_;
    std::vector<std::shared_ptr<MenuItem>> items_;
    std::vector<MenuRow*> rows_;
    bool refreshIsPending_ = false;
};

}  // namespace orvane
