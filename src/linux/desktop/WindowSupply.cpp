#include "linux/desktop/WindowSupply.h"

#include <QApplication>
#include <QWidget>
#include <algorithm>
#include <utility>

namespace orvane {

void WindowSupply::lend() {
    release();
}

bool WindowSupply::allows() {
    if (release()) return true;
    tell_("no window can be shown: the system lets this program open no more files (see ulimit -n)");
    return false;
}

void WindowSupply::closed() {
    if (std::ranges::none_of(QApplication::topLevelWidgets(), &QWidget::isVisible)) reserve_.fill();
}

bool WindowSupply::release() {
    const bool suffices = reserve_.release();
    if (suffices)
        if (const auto equip = std::exchange(equip_, {})) equip();
    return suffices;
}

}  // namespace orvane
