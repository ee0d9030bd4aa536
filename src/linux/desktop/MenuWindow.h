// The status menu as a small window, for a desktop without a tray. Main thread only.
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

/// Shows the first row, the status, beside the icon, and the other rows below it. Is the menu's observer
/// while it lives. Closing the window is the same as choosing the row that quits.
class MenuWindow : public QWidget, private MenuObserver {
  public:
    explicit MenuWindow(std::shared_ptr<Menu> menu);
    ~MenuWindow() override;

    void setImage(const QtImage& image);

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void itemChanged(MenuItem& item) override;
    void rowsChanged(Menu& menu) override;
    QWidget* makeRow(const std::shared_ptr<MenuItem>& item);
    bool isStatus(const MenuItem& item) const;

    std::shared_ptr<Menu> menu_;
    QLabel* icon_;
    QLabel* status_;
    QVBoxLayout* list_;
    std::vector<MenuRow*> rows_;
};

}  // namespace orvane
