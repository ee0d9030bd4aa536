// An NSMenu that mirrors one menu of the model with all that is below it: it carries out what has changed,
// row by row, also while it is open, and reports what the user does. It decides nothing; AppKit enables the
// rows by itself. Main thread only.
#pragma once

#include "menu/MenuMirror.h"

#import <AppKit/AppKit.h>

#include <functional>
#include <memory>
#include <unordered_map>

@class OrvaneMenuDelegate;

namespace orvane {

/// Held by a `std::shared_ptr`: what AppKit calls knows it weakly.
class MacMenu : public std::enable_shared_from_this<MacMenu> {
   public:
    /// `onShown` is called whenever something has changed on the screen.
    static std::shared_ptr<MacMenu> make(std::shared_ptr<Menu> model, std::function<void()> onShown);

    MacMenu(std::shared_ptr<Menu> model, std::function<void()> onShown);
    MacMenu(const MacMenu&) = delete;
    MacMenu& operator=(const MacMenu&) = delete;

    NSMenu* native() const { return native(rootMenu); }

    // What AppKit reports of one menu, and of one row.
    void needsUpdate(RowId menu);
    void willOpen(RowId menu);
    void didClose(RowId menu);
    void choose(RowId row);

   private:
    /// AppKit holds neither its menus' delegates nor its items' targets; one object is both.
    struct Native {
        NSMenu* menu;
        OrvaneMenuDelegate* delegate;
    };

    NSMenu* native(RowId menu) const { return menus_.at(menu).menu; }
    void updateLater();
    void update();
    void carryOut(const MenuChange& change);
    NSMenu* makeMenu(RowId id, const ShownMenu& shown);
    NSMenuItem* makeRow(RowId menu, const ShownRow& row);
    void show(NSMenuItem* item, RowId menu, const RowLook& look);
    /// Lets go of the menus below.
    void forget(NSMenuItem* item);

    MenuMirror mirror_;
    std::function<void()> onShown_;
    std::unordered_map<RowId, Native> menus_;
};

}  // namespace orvane
