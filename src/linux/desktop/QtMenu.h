// A QMenu that mirrors one menu of the model: shows its rows, follows every change, and reports what the user
// does. It decides nothing. Main thread only.
#pragma once

#include "platform/Menu.h"

#include <QMenu>
#include <memory>
#include <string>
#include <vector>

namespace orvane {

/// Writes a title for the path on which the menu is shown: see MenuLabel.h.
using LabelWriter = QString (*)(const std::string& title);

/// Is the model's observer while it lives; so one mirror of a menu exists at a time. Rows that persist in the
/// model keep their QAction. A choice is carried out once Qt is done with the event that made it: by then the
/// menu has closed.
class QtMenu : public QMenu, private MenuObserver {
  public:
    QtMenu(std::shared_ptr<Menu> model, LabelWriter writer, QWidget* parent = nullptr);
    /// A second mirror of the same menu, written for another path; it follows the model by way of the first
    /// and ends with it. The first has one such twin at a time.
    QtMenu(QtMenu& original, LabelWriter writer, QWidget* parent = nullptr);
    ~QtMenu() override;

    /// Whoever showed the menu has gone: it and all its submenus count as closed.
    void assumeClosed();

  private:
    struct Row {
        std::shared_ptr<MenuItem> item;
        QAction* action;
        QtMenu* submenu = nullptr;
        std::shared_ptr<Menu> submenuModel = nullptr;  ///< What `submenu` was made for.
    };

    void itemChanged(MenuItem& item) override;
    void rowsChanged(Menu& menu) override;

    void listen();
    Row makeRow(const std::shared_ptr<MenuItem>& item);
    QtMenu* makeSubmenu(const Row& row);
    void showRow(Row& row);
    bool showSubmenu(Row& row);
    void removeRow(Row& row);
    void retire();
    void announceLayout();
    void opened();
    void closed();
    void choose(const std::shared_ptr<MenuItem>& item);

    std::shared_ptr<Menu> model_;
    LabelWriter writer_;
    std::vector<Row> rows_;
    QtMenu* original_ = nullptr;  ///< Of a twin.
    QtMenu* twin_ = nullptr;
    bool open_ = false;
};

/// The row's key equivalent with the command modifier of this desktop; empty when it has none.
QKeySequence keySequence(const MenuItem& item);

/// Carries out the choice of a row, if it can still be chosen, when the event being delivered has been dealt
/// with and before any that waits already.
void chooseSoon(const std::shared_ptr<Menu>& menu, const std::shared_ptr<MenuItem>& item);

}  // namespace orvane
