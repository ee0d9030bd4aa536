#include "macos/MacMenu.h"

#include "macos/Text.h"

#include <algorithm>
#include <utility>

/// Tells a menu of the model what becomes of it on the screen.
@interface OrvaneMenuDelegate : NSObject <NSMenuDelegate>
- (instancetype)initWithMenu:(std::shared_ptr<orvane::Menu>)menu;
@end

@implementation OrvaneMenuDelegate {
    std::shared_ptr<orvane::Menu> _menu;
}

- (instancetype)initWithMenu:(std::shared_ptr<orvane::Menu>)menu {
    if ((self = [super init])) _menu = std::move(menu);
    return self;
}

- (void)menuNeedsUpdate:(NSMenu*)__unused menu {
    _menu->needsUpdate();
}

- (void)menuWillOpen:(NSMenu*)__unused menu {
    _menu->willOpen();
}

- (void)menuDidClose:(NSMenu*)__unused menu {
    _menu->didClose();
}

@end

/// What an NSMenuItem stands for. The item holds it, and it holds what the choice needs: a row that is still
/// on the screen works, even when the model has a newer menu in its place.
@interface OrvaneMenuChoice : NSObject
- (instancetype)initWithItem:(std::shared_ptr<orvane::MenuItem>)item
                      inMenu:(std::shared_ptr<orvane::Menu>)menu;
- (void)choose:(id)sender;
@end

@implementation OrvaneMenuChoice {
    std::shared_ptr<orvane::MenuItem> _item;
    std::shared_ptr<orvane::Menu> _menu;
}

- (instancetype)initWithItem:(std::shared_ptr<orvane::MenuItem>)item
                      inMenu:(std::shared_ptr<orvane::Menu>)menu {
    if ((self = [super init])) {
        _item = std::move(item);
        _menu = std::move(menu);
    }
    return self;
}

- (void)choose:(id)__unused sender {
    // The command may replace the menu, and this with it.
    const auto menu = _menu;
    const auto item = _item;
    menu->choose(*item);
}

@end

namespace orvane {

MacMenu::MacMenu(std::shared_ptr<Menu> model)
    : model_(std::move(model)),
      menu_([[NSMenu alloc] initWithTitle:@""]),
      delegate_([[OrvaneMenuDelegate alloc] initWithMenu:model_]) {
    menu_.delegate = delegate_;
    model_->setObserver(this);
    rowsChanged(*model_);
}

MacMenu::~MacMenu() { model_->setObserver(nullptr); }

void MacMenu::itemChanged(MenuItem& item) {
    const auto row = std::ranges::find(rows_, &item, [](const Row& r) { return r.item.get(); });
    if (row != rows_.end()) showRow(*row);
}

/// Rows are added at the end or removed all together: what both lists begin with stays as it is.
void MacMenu::rowsChanged(Menu& menu) {
    const auto& items = menu.items();
    const auto kept = std::ranges::mismatch(rows_, items, {}, &Row::item).in1 - rows_.begin();
    while (std::ssize(rows_) > kept) {
        [menu_ removeItem:rows_.back().native];
        rows_.pop_back();
    }
    std::for_each(items.begin() + kept, items.end(), [this](const auto& item) { addRow(item); });
}

void MacMenu::addRow(const std::shared_ptr<MenuItem>& item) {
    NSMenuItem* native = item->isSeparator()
                             ? [NSMenuItem separatorItem]
                             : [[NSMenuItem alloc] initWithTitle:toNSString(item->title())
                                                          action:nil
                                                   keyEquivalent:toNSString(item->keyEquivalent())];
    native.representedObject = [[OrvaneMenuChoice alloc] initWithItem:item inMenu:model_];
    rows_.push_back({item, native, nullptr});
    showRow(rows_.back());
    [menu_ addItem:native];
}

void MacMenu::showRow(Row& row) {
    const MenuItem& item = *row.item;
    if (item.isSeparator()) return;
    row.native.title = toNSString(item.title());
    row.native.enabled = item.isEnabled();
    row.native.hidden = item.isHidden();
    row.native.state = item.checkState() == CheckState::on ? NSControlStateValueOn : NSControlStateValueOff;
    showSubmenu(row);
    if (row.submenu) return;  // AppKit's own action opens it.
    const bool acts = item.action() != MenuAction::none;
    row.native.action = acts ? @selector(choose:) : nil;
    row.native.target = acts ? row.native.representedObject : nil;
}

void MacMenu::showSubmenu(Row& row) {
    const auto& model = row.item->submenu();
    if ((row.submenu ? row.submenu->model_ : nullptr) == model) return;
    row.submenu = model ? std::make_unique<MacMenu>(model) : nullptr;
    row.native.submenu = row.submenu ? row.submenu->native() : nil;
}

}  // namespace orvane
