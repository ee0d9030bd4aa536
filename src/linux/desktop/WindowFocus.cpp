#include "linux/desktop/WindowFocus.h"

#include "linux/desktop/Display.h"

#include <QApplication>
#include <QWidget>

namespace orvane {

namespace {

/// Wayland raises a window only for a program that a click has just gone to, or that holds a token of the
/// click, and a window of X11 on it by no more than a mark; every compositor puts a window in front that
/// appears.
bool mustAppearAnew(const QWidget& window) {
    const bool holdsToken = QGuiApplication::platformName().startsWith(QStringLiteral("wayland")) &&
                            !qEnvironmentVariableIsEmpty("XDG_ACTIVATION_TOKEN");
    return isWaylandDesktop() && window.isVisible() && !window.isActiveWindow() && !holdsToken;
}

}  // namespace

void bringToFront(QWidget& window) {
    if (mustAppearAnew(window)) window.hide();
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

}  // namespace orvane
