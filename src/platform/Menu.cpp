#include "platform/Menu.h"

namespace orvane {

std::shared_ptr<MenuItem> MenuItem::separator() {
    auto item = std::make_shared<MenuItem>("");
    item->separator_ = true;
    return item;
}

MenuItem::~MenuItem() {
    if (submenu_) submenu_->holder_ = nullptr;
}

void MenuItem::setSubmenu(const std::shared_ptr<Menu>& submenu) {
    if (submenu_ == submenu) return;
    if (submenu_) submenu_->holder_ = nullptr;
    submenu_ = submenu;
    if (submenu_) submenu_->holder_ = this;
    changed();
}

void MenuItem::changed() {
    if (menu_) menu_->tellWatchers();
}

Menu::~Menu() {
    for (const auto& item : items_)
        item->menu_ = nullptr;
}

std::shared_ptr<MenuItem> Menu::add(std::shared_ptr<MenuItem> item) {
    item->menu_ = this;
    items_.push_back(item);
    tellWatchers();
    return item;
}

std::shared_ptr<MenuItem> Menu::add(const std::string& title, MenuAction action,
                                    const std::string& keyEquivalent) {
    return add(std::make_shared<MenuItem>(title, action, keyEquivalent));
}

void Menu::removeAllItems() {
    for (const auto& item : items_)
        item->menu_ = nullptr;
    items_.clear();
    tellWatchers();
}

void Menu::tellWatchers() {
    for (const Menu* menu = this; menu; menu = menu->holder_ ? menu->holder_->menu_ : nullptr) {
        const auto watchers = menu->watchers_;
        for (MenuWatcher* watcher : watchers)
            watcher->menuChanged();
    }
}

void Menu::choose(MenuItem& item) {
    if (!target_ || item.isHidden() || item.action() == MenuAction::none) return;
    target_->perform(item);
}

void Menu::needsUpdate() {
    if (delegate_) delegate_->menuNeedsUpdate(*this);
}

void Menu::willOpen() {
    if (delegate_) delegate_->menuWillOpen(*this);
}

void Menu::didClose() {
    if (delegate_) delegate_->menuDidClose(*this);
}

}  // namespace orvane
