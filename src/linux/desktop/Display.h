// What there is to show a desktop program on.
#pragma once

#include <string>

struct xcb_connection_t;

namespace orvane {

/// The name of the Qt platform that can show windows here, or empty when none can. Tries to connect first, as
/// Qt ends a program that it cannot show. A platform that the user demands by QT_QPA_PLATFORM is taken as it
/// is, unless it is X11 or Wayland and cannot be reached.
std::string reachablePlatform();

/// True when a system tray of the older kind stands on that X11 display's default screen
/// (https://specifications.freedesktop.org/systemtray-spec/).
bool hasEmbeddingTray(xcb_connection_t* display);

}  // namespace orvane
