// How a row's title is written so that it is read as nothing but text, on each path on which menus are shown.
// On all of them what is no text in it has a visible stand-in (text/HarmlessText.h).
#pragma once

#include <QString>
#include <QStringList>
#include <string>

namespace orvane {

/// Where nothing in a text acts: in a heading, or a tooltip of a panel's. All of these end with "…" where
/// nobody would read on.
QString literalText(const std::string& text);

/// Writes a title for one path.
using LabelWriter = QString (*)(const std::string& title);

/// Over D-Bus to a panel that follows com.canonical.dbusmenu, where `_x` is an access key and `__` one
/// underscore.
QString dbusLabel(const std::string& title);

/// Over D-Bus to GNOME's AppIndicator extension, which takes out the first `_` that stands before another
/// character and leaves all others as they are.
QString gnomeLabel(const std::string& title);

/// The writer for the panel of the desktop that has these names (Display.h).
LabelWriter dbusLabelWriter(const QStringList& desktop);

/// On a menu row or a button that Qt draws itself, where `&x` is an access key and a tab starts the column of
/// shortcuts.
QString plainLabel(const std::string& title);

}  // namespace orvane
