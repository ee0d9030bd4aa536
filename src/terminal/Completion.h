// What the beginning of a typed line may become: commands, and the numbers of rows. Pure; main thread only.
#pragma once

#include "platform/Menu.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Whole lines that begin with `typed`; a row that leads to others ends in a slash. `enter` is called for
/// each submenu on the way to the rows, before it is looked at.
std::vector<std::string> completionsOf(const std::shared_ptr<Menu>& root, std::string_view typed,
                                       const std::function<void(Menu&)>& enter);

}  // namespace orvane
