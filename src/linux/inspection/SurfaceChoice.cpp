#include "linux/inspection/SurfaceChoice.h"

#include "linux/desktop/Display.h"
#include "linux/system/MessageBus.h"
#include "terminal/TerminalConsole.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include <unistd.h>
#include <xcb/xcb.h>

namespace orvane {

namespace {

constexpr int panelPatience = 1000;  // milliseconds
constexpr std::chrono::milliseconds sessionBusPatience{500};
constexpr auto sessionConnection = "orvane-check-session";
constexpr auto watcher = "org.kde.StatusNotifierWatcher";

bool hasNotifierHost() {
    const std::string address = sessionBusAddress();
    if (!busAnswers(address, Deadline::after(sessionBusPatience))) return false;
    const auto bus = QDBusConnection::connectToBus(QString::fromStdString(address), sessionConnection);
    auto get = QDBusMessage::createMethodCall(watcher, "/StatusNotifierWatcher",
                                              "org.freedesktop.DBus.Properties", "Get");
    get.setArguments({QString(watcher), QStringLiteral("IsStatusNotifierHostRegistered")});
    get.setAutoStartService(false);
    const QDBusMessage reply = bus.call(get, QDBus::Block, panelPatience);
    return reply.type() == QDBusMessage::ReplyMessage &&
           reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
}

bool hasTrayOnX11() {
    xcb_connection_t* display = xcb_connect(nullptr, nullptr);
    const bool has = xcb_connection_has_error(display) == 0 && hasEmbeddingTray(display);
    xcb_disconnect(display);
    return has;
}

}  // namespace

SurfaceChoice chooseSurface(bool terminalWanted) {
    using Kind = SurfaceChoice::Kind;
    if (terminalWanted) return {Kind::terminal, {}, "asked for"};
    const DisplayChoice display = reachableDisplay();
    if (!display.platform.empty())
        return {Kind::desktop, display.platform, display.reason, display.isSecondBest};
    if (saysSomething(STDIN_FILENO)) return {Kind::terminal, {}, display.reason, display.isSecondBest};
    return {Kind::none, {}, display.reason + ", and nothing can be typed on standard input"};
}

SurfaceFacts surfaceFacts(const SurfaceChoice& choice) {
    switch (choice.kind) {
        case SurfaceChoice::Kind::none:
            return {false, "nowhere", choice.reason};
        case SurfaceChoice::Kind::terminal:
            return {true, "a menu on the terminal", choice.reason};
        case SurfaceChoice::Kind::desktop:
            break;
    }
    if (hasNotifierHost()) return {true, "an icon in the tray", "a panel takes icons over D-Bus"};
    if (choice.platform == "xcb" && hasTrayOnX11())
        return {true, "an icon in the tray", "an X11 tray is there"};
    return {true, "a window", choice.reason + ", and no tray is there"};
}

}  // namespace orvane
