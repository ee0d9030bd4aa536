#include "macos/desktop/MacMenu.h"

#include "macos/system/Text.h"
#include "text/HarmlessText.h"

#include <utility>

/// What AppKit tells of one menu and of the rows in it. A row's tag is its name in the mirror.
@interface OrvaneMenuDelegate : NSObject <NSMenuDelegate>
- (instancetype)initWithMenu:(orvane::RowId)menu of:(std::weak_ptr<orvane::MacMenu>)owner;
- (void)choose:(NSMenuItem*)sender;
@end

@implementation OrvaneMenuDelegate {
    orvane::RowId _menu;
    std::weak_ptr<orvane::MacMenu> _owner;
}

- (instancetype)initWithMenu:(orvane::RowId)menu of:(std::weak_ptr<orvane::MacMenu>)owner {
    if ((self = [super init])) {
        _menu = menu;
        _owner = std::move(owner);
    }
    return self;
}

- (void)menuNeedsUpdate:(NSMenu*)__unused menu {
    if (const auto owner = _owner.lock()) owner->needsUpdate(_menu);
}

- (void)menuWillOpen:(NSMenu*)__unused menu {
    if (const auto owner = _owner.lock()) owner->willOpen(_menu);
}

- (void)menuDidClose:(NSMenu*)__unused menu {
    if (const auto owner = _owner.lock()) owner->didClose(_menu);
}

- (void)choose:(NSMenuItem*)sender {
    if (const auto owner = _owner.lock()) owner->choose(static_cast<orvane::RowId>(sender.tag));
}

@end

namespace orvane {

std::shared_ptr<MacMenu> MacMenu::make(std::shared_ptr<Menu> model, std::function<void()> onShown) {
    const auto made = std::make_shared<MacMenu>(std::move(model), std::move(onShown));
    made->makeMenu(rootMenu, made->mirror_.root());
    return made;
}

MacMenu::MacMenu(std::shared_ptr<Menu> model, std::function<void()> onShown)
    : mirror_(std::move(model), [this] { updateLater(); }), onShown_(std::move(onShown)) {}

/// Also runs while the menu tracks: the main queue is served then.
void MacMenu::updateLater() {
    const std::weak_ptr<MacMenu> weakSelf = weak_from_this();
    dispatch_async(dispatch_get_main_queue(), ^{
      if (const auto self = weakSelf.lock()) self->update();
    });
}

void MacMenu::needsUpdate(RowId menu) {
    mirror_.refill(menu);
    update();
}

void MacMenu::willOpen(RowId menu) {
    const ShownMenu* shown = mirror_.findMenu(menu);
    if (shown) std::shared_ptr(shown->model)->willOpen();
}

void MacMenu::didClose(RowId menu) {
    const ShownMenu* shown = mirror_.findMenu(menu);
    if (shown) std::shared_ptr(shown->model)->didClose();
}

void MacMenu::choose(RowId row) {
    const ShownRow* shown = mirror_.find(row);
    if (!shown) return;
    // The command may replace the menu, and the row with it.
    const auto menu = shown->menu;
    const auto item = shown->item;
    menu->choose(*item);
}

void MacMenu::update() {
    const auto changes = mirror_.update();
    for (const MenuChange& change : changes) carryOut(change);
    if (!changes.empty() && onShown_) onShown_();
}

void MacMenu::carryOut(const MenuChange& change) {
    NSMenu* menu = native(change.menu);
    if (change.kind == MenuChange::Kind::inserted) {
        [menu insertItem:makeRow(change.menu, *mirror_.find(change.row))
                 atIndex:static_cast<NSInteger>(change.index)];
        return;
    }
    NSMenuItem* item = [menu itemWithTag:change.row];
    switch (change.kind) {
        case MenuChange::Kind::removed:
            forget(item);
            [menu removeItem:item];
            break;
        case MenuChange::Kind::moved:
            [menu removeItem:item];
            [menu insertItem:item atIndex:static_cast<NSInteger>(change.index)];
            break;
        default:
            show(item, change.menu, mirror_.find(change.row)->look);
    }
}

NSMenu* MacMenu::makeMenu(RowId id, const ShownMenu& shown) {
    NSMenu* menu = [[NSMenu alloc] initWithTitle:@""];
    OrvaneMenuDelegate* delegate = [[OrvaneMenuDelegate alloc] initWithMenu:id of:weak_from_this()];
    menu.delegate = delegate;
    menus_[id] = {menu, delegate};
    for (const auto& row : shown.rows) [menu addItem:makeRow(id, *row)];
    return menu;
}

NSMenuItem* MacMenu::makeRow(RowId menu, const ShownRow& row) {
    const RowLook& look = row.look;
    NSMenuItem* item = look.separator ? [NSMenuItem separatorItem]
                                      : [[NSMenuItem alloc] initWithTitle:toNSString(harmless(look.title))
                                                                   action:nil
                                                            keyEquivalent:toNSString(look.keyEquivalent)];
    item.tag = row.id;
    if (look.separator) return item;
    show(item, menu, look);
    if (look.leadsOn) item.submenu = makeMenu(row.id, row.below);
    return item;
}

void MacMenu::show(NSMenuItem* item, RowId menu, const RowLook& look) {
    item.title = toNSString(harmless(look.title));
    item.enabled = look.enabled;
    item.hidden = look.hidden;
    item.state = look.mark == CheckState::on ? NSControlStateValueOn : NSControlStateValueOff;
    if (look.leadsOn) return;  // AppKit's own action opens it.
    item.action = look.acts ? @selector(choose:) : nil;
    item.target = look.acts ? menus_.at(menu).delegate : nil;
}

void MacMenu::forget(NSMenuItem* item) {
    for (NSMenuItem* below in item.submenu.itemArray) forget(below);
    menus_.erase(static_cast<RowId>(item.tag));
}

}  // namespace orvane
