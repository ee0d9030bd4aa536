// What there is to show a desktop program on.
#pragma once

#include <QStringList>
#include <string>

struct xcb_connection_t;

namespace orvane {

struct DisplayChoice {
    std::string platform;       ///< Name of the Qt platform that can show windows here; empty when none can.
    std::string reason;         ///< Why this one or none, as part of a sentence.
    bool isSecondBest = false;  ///< The user demanded one that there is not.
};

/// Tries to connect first, as Qt ends a program that it cannot show. A platform that the user demands by
/// QT_QPA_PLATFORM is taken as it is, unless it is X11 or Wayland and cannot be reached, or Qt has none of
/// that name. Any thread.
DisplayChoice reachableDisplay();

/// True when a system tray of the older kind stands on that X11 display's default screen
/// (https://specifications.freedesktop.org/systemtray-spec/). False for null.
bool hasEmbeddingTray(xcb_connection_t* display);

/// True on a Wayland desktop, even where this program talks to it by way of X11.
bool isWaylandDesktop();

/// What the desktop calls itself, the most particular name first ("ubuntu", "GNOME").
QStringList desktopNames();

}  // namespace orvane
