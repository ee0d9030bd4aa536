// One row of the menu as a button of a window, drawn as the desktop draws menu rows. Main thread only.
#pragma once

#include "platform/Menu.h"

#include <QPushButton>
#include <QStyleOptionMenuItem>
#include <memory>

namespace orvane {

class QtMenu;

/// Shows a row that is no separator. A click chooses the row, or pops up its submenu beside it.
class MenuRow : public QPushButton {
  public:
    MenuRow(std::shared_ptr<Menu> menu, std::shared_ptr<MenuItem> item, QWidget* parent);
    ~MenuRow() override;

    const MenuItem* item() const { return item_.get(); }
    /// Takes over what the row says now.
    void refresh();

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;

  private:
    void refreshSubmenu();
    void activate();
    void popUp();
    void closeSubmenu();
    void submenuClosed();
    QStyleOptionMenuItem option() const;

    std::shared_ptr<Menu> menu_;
    std::shared_ptr<MenuItem> item_;
    std::unique_ptr<QtMenu> submenu_;
    bool poppedUp_ = false;
};

}  // namespace orvane
