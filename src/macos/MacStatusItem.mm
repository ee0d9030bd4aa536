#include "macos/MacStatusItem.h"

#include "macos/MacImages.h"

namespace orvane {

MacStatusItem::MacStatusItem()
    : item_([NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength]) {}

MacStatusItem::~MacStatusItem() { [NSStatusBar.systemStatusBar removeStatusItem:item_]; }

void MacStatusItem::clearContentTintColor() { item_.button.contentTintColor = nil; }

void MacStatusItem::setImage(const std::shared_ptr<Image>& image) {
    item_.button.image = static_cast<const MacImage&>(*image).native();
}

void MacStatusItem::setMenu(const std::shared_ptr<Menu>& menu) {
    menu_ = std::make_unique<MacMenu>(menu);
    item_.menu = menu_->native();
}

}  // namespace orvane
