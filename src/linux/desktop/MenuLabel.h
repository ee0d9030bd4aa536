// How a row's title is written so that it is read as nothing but text, on each path on which Qt shows menus.
#pragma once

#include <QString>
#include <string>

namespace orvane {

/// Over D-Bus to a StatusNotifier host. Qt turns the first `&` of a label into `_` there, and
/// com.canonical.dbusmenu reads `_x` as an access key and `__` as one underscore. A host that follows it
/// reads exactly the title; only NUL, which D-Bus cannot carry, becomes the symbol for it.
QString dbusLabel(const std::string& title);

/// On a menu row or a button that Qt draws itself, where `&x` is an access key and a tab starts the column of
/// shortcuts. Control characters are shown as symbols, as on a terminal.
QString plainLabel(const std::string& title);

}  // namespace orvane
