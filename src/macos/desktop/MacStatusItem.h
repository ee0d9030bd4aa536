// The item in the menu bar.
#pragma once

#include "macos/desktop/MacMenu.h"
#include "platform/Surface.h"

#include <memory>

#import <AppKit/AppKit.h>

namespace orvane {

class MacStatusItem : public StatusItem {
  public:
    MacStatusItem();
    ~MacStatusItem() override;

    bool hasButton() const override { return item_.button != nil; }
    void clearContentTintColor() override;
    void setImage(const std::shared_ptr<Image>& image) override;
    void setMenu(const std::shared_ptr<StatusItemMenu>& menu) override;

    NSStatusItem* native() const { return item_; }

  private:
    /// What the status row says is what the icon stands for, for people who point at it or cannot see it.
    void describe();

    NSStatusItem* item_;
    std::shared_ptr<StatusItemMenu> model_;
    std::shared_ptr<MacMenu> menu_;
};

}  // namespace orvane
