#include "linux/desktop/WindowSupply.h"

#include <QApplication>
#include <QWidget>
#include <algorithm>

namespace orvane {

bool WindowSupply::allows() {
    if (reserve_.release()) return true;
    tell_("no window can be shown: the system lets this program open no more files (see ulimit -n)");
    return false;
}

void WindowSupply::closed() {
    if (std::ranges::none_of(QApplication::topLevelWidgets(), &QWidget::isVisible)) reserve_.fill();
}

}  // namespace orvane
