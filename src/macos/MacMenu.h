// An NSMenu that mirrors one menu of the model: shows its rows, follows every change, and reports what the
// user does. It decides nothing; AppKit enables the rows by itself. Main thread only.
#pragma once

#include "platform/Menu.h"

#import <AppKit/AppKit.h>

#include <memory>
#include <vector>

@class OrvaneMenuDelegate;

namespace orvane {

/// Is the model's observer while it lives; so one mirror of a menu exists at a time. Rows that persist in the
/// model keep their NSMenuItem.
class MacMenu : private MenuObserver {
   public:
    explicit MacMenu(std::shared_ptr<Menu> model);
    ~MacMenu() override;
    MacMenu(const MacMenu&) = delete;
    MacMenu& operator=(const MacMenu&) = delete;

    NSMenu* native() const { return menu_; }

   private:
    struct Row {
        std::shared_ptr<MenuItem> item;
        NSMenuItem* native;
        std::unique_ptr<MacMenu> submenu;
    };

    void itemChanged(MenuItem& item) override;
    void rowsChanged(Menu& menu) override;

    void addRow(const std::shared_ptr<MenuItem>& item);
    void showRow(Row& row);
    void showSubmenu(Row& row);

    std::shared_ptr<Menu> model_;
    NSMenu* menu_;
    OrvaneMenuDelegate* delegate_;
    std::vector<Row> rows_;
};

}  // namespace orvane
