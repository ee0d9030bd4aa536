#include "macos/desktop/MacStatusItem.h"

#include "macos/desktop/MacImages.h"
#include "macos/system/Text.h"
#include "text/HarmlessText.h"

namespace orvane {

MacStatusItem::MacStatusItem()
    : item_([NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength]) {}

MacStatusItem::~MacStatusItem() { [NSStatusBar.systemStatusBar removeStatusItem:item_]; }

void MacStatusItem::clearContentTintColor() { item_.button.contentTintColor = nil; }

void MacStatusItem::setImage(const std::shared_ptr<Image>& image) {
    item_.button.image = static_cast<const MacImage&>(*image).native();
}

void MacStatusItem::setMenu(const std::shared_ptr<StatusItemMenu>& menu) {
    model_ = menu;
    menu_ = MacMenu::make(menu, [this] { describe(); });
    item_.menu = menu_->native();
    describe();
}

void MacStatusItem::describe() {
    NSString* status = toNSString(harmless(model_->statusRow()->title()));
    item_.button.toolTip = status;
    item_.button.accessibilityLabel = status;
}

}  // namespace orvane
