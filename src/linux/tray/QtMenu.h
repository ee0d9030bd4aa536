// A QMenu that mirrors a menu of the model with everything below it, and reports what the user does. It
// decides nothing. Main thread only.
#pragma once

#include "menu/MenuMirror.h"

#include <QMenu>
#include <memory>
#include <unordered_map>

namespace orvane {

/// Rows that stay keep their QAction; what changes is carried out once per turn of the event loop. A choice
/// is carried out once Qt is done with the event that made it: by then the menu has closed.
class QtMenu : public QMenu {
  public:
    explicit QtMenu(std::shared_ptr<Menu> model, QWidget* parent = nullptr);
    ~QtMenu() override;

    /// Another menu to mirror from now on; rows that mean the same stay, also while the menu is popped up.
    void setModel(std::shared_ptr<Menu> model);
    /// Whoever showed the menu has gone.
    void assumeClosed();

  private:
    void refreshSoon();
    void refresh();
    void carryOut(const MenuChange& change);
    QMenu* nativeMenu(RowId id);
    QAction* makeRow(const ShownRow& row, QMenu& menu);
    void makeSubmenu(const ShownRow& row, QAction& action);
    void removeRow(QAction& action);
    void forget(const QAction& action);
    void opened();
    void closed();
    void choose(RowId id);

    std::shared_ptr<Menu> model_;
    MenuMirror mirror_;
    std::unordered_map<RowId, QAction*> actions_;
    bool open_ = false;
};

}  // namespace orvane
