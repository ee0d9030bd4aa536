#include "menu/MenuMirror.h"

#include <algorithm>
#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <utility>

namespace orvane {

namespace {

/// Filled ahead of their opening while fewer rows are shown: far more than eight phones have, and a server
/// that lists phones without end does not fill the memory.
constexpr std::size_t maxRowsFilledAhead = 10'000;

/// What tells rows of a rebuilt menu apart when their titles do not.
struct Meaning {
    bool separator;
    bool leadsOn;
    MenuAction action;
    RepresentedObject object;
    std::uint32_t phone;

    Meaning(const MenuItem& item, const Menu* submenu)
        : separator(item.isSeparator()),
          leadsOn(submenu != nullptr),
          action(item.action()),
          object(item.representedObject()) {
        const auto* details = dynamic_cast<const PhoneDetailMenu*>(submenu);
        phone = details ? details->deviceId : 0;
    }
    auto operator<=>(const Meaning&) const = default;
};

RowLook lookOf(const MenuItem& item) {
    return {.separator = item.isSeparator(),
            .title = item.title(),
            .keyEquivalent = item.keyEquivalent(),
            .enabled = item.isEnabled(),
            .hidden = item.isHidden(),
            .mark = item.checkState(),
            .acts = item.action() != MenuAction::none,
            .leadsOn = item.submenu() != nullptr};
}

using Items = std::vector<std::shared_ptr<MenuItem>>;

/// For each item the shown row that goes on standing for it, or null.
std::vector<ShownRow*> match(const ShownMenu& shown, const Items& items) {
    std::map<const MenuItem*, ShownRow*> byItem;
    for (const auto& row : shown.rows)
        byItem[row->item.get()] = row.get();

    std::vector<ShownRow*> matches(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto same = byItem.find(items[i].get());
        if (same == byItem.end()) continue;
        if (same->second->look.leadsOn == (items[i]->submenu() != nullptr)) matches[i] = same->second;
        byItem.erase(same);
    }

    std::map<Meaning, std::deque<ShownRow*>> byMeaning;
    for (const auto& row : shown.rows) {
        if (byItem.contains(row->item.get()))
            byMeaning[Meaning(*row->item, row->below.model.get())].push_back(row.get());
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (matches[i]) continue;
        const auto same = byMeaning.find(Meaning(*items[i], items[i]->submenu().get()));
        if (same == byMeaning.end() || same->second.empty()) continue;
        matches[i] = same->second.front();
        same->second.pop_front();
    }
    return matches;
}

/// The rows of a menu that have not got their new place yet, in their old order. Each step takes the same
/// time, however many there are.
class RemainingRows {
  public:
    explicit RemainingRows(std::vector<std::unique_ptr<ShownRow>> rows) : rows_(std::move(rows)) {
        for (std::size_t i = 0; i < rows_.size(); ++i)
            places_[rows_[i].get()] = i;
    }

    /// There is one left.
    const ShownRow* first() {
        while (!rows_[first_])
            ++first_;
        return rows_[first_].get();
    }
    std::unique_ptr<ShownRow> take(const ShownRow* row) { return std::move(rows_[places_.at(row)]); }

  private:
    std::vector<std::unique_ptr<ShownRow>> rows_;
    std::unordered_map<const ShownRow*, std::size_t> places_;
    std::size_t first_ = 0;
};

}  // namespace

MenuMirror::MenuMirror(std::shared_ptr<Menu> menu, std::function<void()> onStale)
    : onStale_(std::move(onStale)) {
    root_.model = std::move(menu);
    root_.model->addWatcher(this);
    update();
}

MenuMirror::~MenuMirror() {
    root_.model->removeWatcher(this);
}

void MenuMirror::setMenu(std::shared_ptr<Menu> menu) {
    if (menu == root_.model) return;
    root_.model->removeWatcher(this);
    root_.model = std::move(menu);
    root_.model->addWatcher(this);
    menuChanged();
}

const ShownRow* MenuMirror::find(RowId id) const {
    const auto found = rows_.find(id);
    return found == rows_.end() ? nullptr : found->second;
}

const ShownMenu* MenuMirror::findMenu(RowId id) const {
    if (id == rootMenu) return &root_;
    const ShownRow* row = find(id);
    return row && row->below.model ? &row->below : nullptr;
}

void MenuMirror::menuChanged() {
    if (std::exchange(stale_, true)) return;
    if (onStale_) onStale_();
}

void MenuMirror::refill(RowId menu) {
    if (const ShownMenu* shown = findMenu(menu)) refill(*shown);
}

void MenuMirror::refill(const ShownMenu& shown) {
    const auto model = shown.model;
    model->needsUpdate();
    if (rows_.size() > maxRowsFilledAhead) return;
    for (const auto& row : shown.rows) {
        if (row->below.model) refill(row->below);
    }
}

std::vector<MenuChange> MenuMirror::update() {
    Changes changes;
    stale_ = true;  // Submenus that are filled on the way are taken over on the way.
    follow(root_, rootMenu, changes);
    stale_ = false;
    return changes;
}

void MenuMirror::follow(ShownMenu& shown, RowId id, Changes& changes) {
    const Items items = shown.model ? shown.model->items() : Items();
    const std::vector<ShownRow*> matches = match(shown, items);
    const std::set<const ShownRow*> kept(matches.begin(), matches.end());
    std::erase_if(shown.rows, [&](const auto& row) {
        if (kept.contains(row.get())) return false;
        changes.push_back({MenuChange::Kind::removed, id, row->id});
        forget(*row);
        return true;
    });
    RemainingRows remaining(std::exchange(shown.rows, {}));
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!matches[i]) {
            shown.rows.push_back(makeRow(shown, items[i]));
            changes.push_back({MenuChange::Kind::inserted, id, shown.rows.back()->id, i});
            continue;
        }
        if (remaining.first() != matches[i])
            changes.push_back({MenuChange::Kind::moved, id, matches[i]->id, i});
        shown.rows.push_back(remaining.take(matches[i]));
        matches[i]->menu = shown.model;
        followRow(*matches[i], items[i], id, changes);
    }
}

void MenuMirror::followRow(ShownRow& row, const std::shared_ptr<MenuItem>& item, RowId menu,
                           Changes& changes) {
    row.item = item;
    RowLook look = lookOf(*item);
    if (look != row.look) changes.push_back({MenuChange::Kind::changed, menu, row.id});
    row.look = std::move(look);
    if (!item->submenu()) return;
    attach(row.below, item->submenu());
    follow(row.below, row.id, changes);
}

std::unique_ptr<ShownRow> MenuMirror::makeRow(const ShownMenu& menu, const std::shared_ptr<MenuItem>& item) {
    auto row = std::make_unique<ShownRow>(ShownRow{++lastId_, menu.model, item, lookOf(*item), {}});
    rows_[row->id] = row.get();
    if (!item->submenu()) return row;
    attach(row->below, item->submenu());
    Changes untold;
    follow(row->below, row->id, untold);
    return row;
}

void MenuMirror::attach(ShownMenu& shown, const std::shared_ptr<Menu>& model) {
    if (shown.model == model) return;
    shown.model = model;
    if (rows_.size() <= maxRowsFilledAhead) model->needsUpdate();
}

void MenuMirror::forget(const ShownRow& row) {
    rows_.erase(row.id);
    for (const auto& below : row.below.rows)
        forget(*below);
}

}  // namespace orvane
