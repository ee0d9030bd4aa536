// The item in the system's status bar (or what stands in for it) with the one menu of the program. Main
// thread only.
#pragma once

#include "platform/Image.h"

#include <memory>

namespace orvane {

class Menu;

class StatusItem {
  public:
    virtual ~StatusItem() = default;
    /// False when there is nothing to show an image on.
    virtual bool hasButton() const = 0;
    virtual void clearContentTintColor() = 0;
    virtual void setImage(const std::shared_ptr<Image>& image) = 0;
    /// Shows `menu` from now on and mirrors every change of it. Choosing a row calls `Menu::choose` on the
    /// menu that holds the row; opening and closing call the menus' delegates.
    virtual void setMenu(const std::shared_ptr<Menu>& menu) = 0;
};

}  // namespace orvane
