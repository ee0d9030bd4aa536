// The menu as lines of text, and its rows by their paths. A path is the numbers of rows in their menus, from
// 1, separators and hidden rows included, so that a row keeps its number: "9/1/2". Pure; main thread only.
#pragma once

#include "platform/Menu.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orvane {

struct MenuLine {
    std::string path;  ///< Empty for a separator.
    std::string text;  ///< Harmless, without a line feed; empty for a separator.
    bool operator==(const MenuLine&) const = default;
};

/// The rows that can be seen, those of submenus below theirs. Only the details of a phone are left out: they
/// are filled when they are opened. `prefix` is the path of the row that leads to `menu`.
std::vector<MenuLine> menuLines(const Menu& menu, const std::string& prefix = {});

/// What is new in `after`: lines that are in it and not in `before`, and a note for each row that has
/// gone while the row that leads to it stays.
std::vector<std::string> changedLines(const std::vector<MenuLine>& before,
                                      const std::vector<MenuLine>& after);

/// A row, with the menus on the way to it.
struct MenuPlace {
    std::vector<std::shared_ptr<Menu>> menus;  ///< The outermost first; the last one holds the row.
    std::shared_ptr<MenuItem> item;
    std::string path;
};

/// The row that `path` means: numbers or titles (or the beginning of one title only), with slashes between;
/// or why there is none, as a sentence. `enter` is called for each submenu on the way, before it is looked
/// at.
std::variant<MenuPlace, std::string> findRow(const std::shared_ptr<Menu>& root, std::string_view path,
                                             const std::function<void(Menu&)>& enter);

/// The outermost menu's row with that key equivalent, in any case; null when there is none.
std::shared_ptr<MenuItem> rowWithKey(const Menu& root, std::string_view key);
/// The outermost menu's row that runs `action`; null when there is none.
std::shared_ptr<MenuItem> rowWithAction(const Menu& root, MenuAction action);

}  // namespace orvane
