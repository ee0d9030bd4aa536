#include "platform/Menu.h"

namespace orvane {

std::shared_ptr<MenuItem> MenuItem::separator() {
    auto item = std::make_shared<MenuItem>("");
    item->separator_ = true;
    return item;
}

void MenuItem::changed() {
    if (menu_ && menu_->observer_) menu_->observer_->itemChanged(*this);
}

Menu::~Menu() {
    for (const auto& item : items_)
        item->menu_ = nullptr;
}

std::shared_ptr<MenuItem> Menu::add(std::shared_ptr<MenuItem> item) {
    item->menu_ = this;
    items_.push_back(item);
    if (observer_) observer_->rowsChanged(*this);
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
    if (observer_) observer_->rowsChanged(*this);
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
