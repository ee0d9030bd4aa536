// Bringing a window before the user. Main thread only.
#pragma once

class QWidget;

namespace orvane {

/// Shows the window, in front and with the keyboard if the desktop allows that, else marked as wanting
/// attention.
void bringToFront(QWidget& window);

}  // namespace orvane
