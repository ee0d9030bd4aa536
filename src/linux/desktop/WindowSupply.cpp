#include "linux/desktop/WindowSupply.h"

#include <QApplication>
#include <QWidget>
#include <algorithm>
#include <utility>

namespace orvane {

bool WindowSupply::lend() {
    if (!reserve_.release()) return false;
    if (const auto equip = std::exchange(equip_, {})) equip();
    return true;
}

bool WindowSupply::allows() {
    if (lend()) return true;
    tell_("no window can be shown: the system lets this program open no more files (see ulimit -n)");
    return false;
}

void WindowSupply::closed() {
    if (std::ranges::none_of(QApplication::topLevelWidgets(), &QWidget::isVisible)) reserve_.fill();
}

}  // namespace orvane
