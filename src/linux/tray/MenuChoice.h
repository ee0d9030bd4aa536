// What rows mean to Qt, however they are drawn.
#pragma once

#include "platform/Menu.h"

#include <QKeySequence>
#include <memory>

namespace orvane {

/// The row's key equivalent with the command modifier of this desktop; empty when it has none.
QKeySequence keySequence(const std::string& keyEquivalent);

/// Carries out the choice of a row, if it can still be chosen, when the event being delivered has been dealt
/// with and before any that waits already.
void chooseSoon(const std::shared_ptr<Menu>& menu, const std::shared_ptr<MenuItem>& item);

}  // namespace orvane
