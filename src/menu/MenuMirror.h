// What a surface shows of a menu, and how that differs from what the model says by now: computed here once,
// for every surface alike. A surface carries out the changes on the screen, one after the other, and replaces
// nothing that stays. Main thread only.
#pragma once

#include "platform/Menu.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace orvane {

/// Names a row for as long as the mirror lives; never given twice. The menus are named by the rows that lead
/// to them, the outermost by `rootMenu`.
using RowId = int;
constexpr RowId rootMenu = 0;

/// All that can be seen of a row.
struct RowLook {
    bool separator = false;
    std::string title;
    std::string keyEquivalent;
    bool enabled = true;  ///< The explicit state only: see `isShownEnabled`.
    bool hidden = false;
    CheckState mark = CheckState::none;
    bool acts = false;     ///< Runs a command.
    bool leadsOn = false;  ///< Has a submenu.

    bool operator==(const RowLook&) const = default;
    /// As `MenuItem::isShownEnabled`, for a surface without automatic enabling.
    bool isShownEnabled() const { return enabled && (acts || leadsOn); }
};

struct ShownRow;

struct ShownMenu {
    std::shared_ptr<Menu> model;  ///< Null below a row that leads nowhere.
    std::vector<std::unique_ptr<ShownRow>> rows;
};

struct ShownRow {
    RowId id;
    std::shared_ptr<Menu> menu;      ///< The model's menu that holds the row.
    std::shared_ptr<MenuItem> item;  ///< The model's row that this one stands for now.
    RowLook look;
    ShownMenu below;
};

/// One step from what is shown to what shall be shown.
struct MenuChange {
    enum class Kind {
        removed,
        inserted,  ///< With all that is below it: no changes are told of those rows.
        moved,     ///< Taken from its place in the same menu and put back at `index`.
        changed,   ///< Its look has changed.
    };
    Kind kind;
    RowId menu;
    RowId row;
    /// Inserted and moved: the row's place once this step, and all steps before it, have been carried out.
    std::size_t index = 0;
    bool operator==(const MenuChange&) const = default;
};

/// Two rows are the same when they are the same object of the model, or mean the same: the same command for
/// the same choice, or the details of the same phone. A row that begins to lead on, or no longer does, is
/// another row: panels decide once for each whether there is something below it. Submenus are kept filled, as
/// some panels open none that is empty.
class MenuMirror : private MenuWatcher {
  public:
    /// `onStale` is called when there may be changes, once until the next `update`. That one is to be left to
    /// the next turn of the run loop: the model may be in the midst of changing.
    MenuMirror(std::shared_ptr<Menu> menu, std::function<void()> onStale);
    ~MenuMirror() override;
    MenuMirror(const MenuMirror&) = delete;
    MenuMirror& operator=(const MenuMirror&) = delete;

    /// Another menu to show from the next `update` on; its rows are compared with those shown.
    void setMenu(std::shared_ptr<Menu> menu);
    /// Lets the model fill this menu, and those below it, with what is true now; `update` is to follow.
    void refill(RowId menu = rootMenu);
    /// Takes over what the model says and tells the steps that lead there, in order; none when all is shown.
    std::vector<MenuChange> update();

    const ShownMenu& root() const { return root_; }
    /// Null when there is no such row (any longer).
    const ShownRow* find(RowId id) const;
    /// Null when there is no such menu.
    const ShownMenu* findMenu(RowId id) const;

  private:
    using Changes = std::vector<MenuChange>;

    void menuChanged() override;
    void follow(ShownMenu& shown, RowId id, Changes& changes);
    void followRow(ShownRow& row, const std::shared_ptr<MenuItem>& item, RowId menu, Changes& changes);
    std::unique_ptr<ShownRow> makeRow(const ShownMenu& menu, const std::shared_ptr<MenuItem>& item);
    void attach(ShownMenu& shown, const std::shared_ptr<Menu>& model);
    void refill(const ShownMenu& shown);
    void forget(const ShownRow& row);

    ShownMenu root_;
    std::function<void()> onStale_;
    std::unordered_map<RowId, ShownRow*> rows_;
    RowId lastId_ = rootMenu;
    bool stale_ = false;
};

}  // namespace orvane
