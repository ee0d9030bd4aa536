#include "linux/desktop/Display.h"

#include "posix/Environment.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QStringList>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace orvane {

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

bool x11Answers() {
    if (environment("DISPLAY").empty()) return false;
    xcb_connection_t* display = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(display) == 0;
    xcb_disconnect(display);
    return answers;
}

bool socketAnswers(const std::string& path) {
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path) return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const bool answers = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return answers;
}

/// The names of the platforms that this Qt has plugins for, without loading any.
QStringList installedPlatforms() {
    QStringList names;
    QStringList folders = {QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms")};
    folders += qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH");
    for (const QString& folder : folders) {
        if (folder.isEmpty()) continue;
        const QDir plugins(folder);
        for (const QString& file : plugins.entryList({QStringLiteral("*.so")}, QDir::Files)) {
            const QJsonObject data = QPluginLoader(plugins.filePath(file)).metaData();
            const QJsonArray keys = data.value("MetaData").toObject().value("Keys").toArray();
            for (const auto& key : keys)
                names += key.toString();
        }
    }
    return names;
}

/// The first of the platforms in QT_QPA_PLATFORM ("wayland;xcb", "offscreen:…") that this Qt has.
QString installedDemand(const QString& demanded) {
    const QStringList installed = installedPlatforms();
    for (const QString& one : demanded.split(';'))
        if (installed.contains(one.section(':', 0, 0), Qt::CaseInsensitive)) return one;
    return {};
}

bool waylandAnswers() {
    const std::string name = environment("WAYLAND_DISPLAY");
    if (name.empty()) return false;
    if (name.starts_with('/')) return socketAnswers(std::string(name));
    return socketAnswers(environment("XDG_RUNTIME_DIR") + "/" + name);
}

DisplayChoice findDisplay(bool x11Allowed, bool waylandAllowed) {
    // X11 first also where both answer: a Wayland client without the keyboard cannot set the clipboard, and
    // the tray's menu never has the keyboard. A client of X11 can, on GNOME.
    if (x11Allowed && x11Answers()) return {"xcb", "the X11 display answers"};
    if (waylandAllowed && waylandAnswers()) {
        if (!installedDemand("wayland").isEmpty()) return {"wayland", "the Wayland display answers"};
        return {"", "Qt has no plugin for Wayland (the package qt6-wayland)"};
    }
    const bool isNamed = !environment("DISPLAY").empty() || !environment("WAYLAND_DISPLAY").empty();
    return {"", isNamed ? "the display does not answer" : "there is no display"};
}

}  // namespace

DisplayChoice reachableDisplay() {
    const QString demanded = qEnvironmentVariable("QT_QPA_PLATFORM");
    if (demanded.isEmpty()) return findDisplay(true, true);
    const bool x11Allowed = demanded.contains("xcb");
    const bool waylandAllowed = demanded.contains("wayland");
    if (x11Allowed || waylandAllowed) return findDisplay(x11Allowed, waylandAllowed);
    if (!installedDemand(demanded).isEmpty())
        return {demanded.toStdString(), "QT_QPA_PLATFORM demands " + demanded.toStdString()};
    DisplayChoice found = findDisplay(true, true);
    found.isSecondBest = true;
    found.reason = "Qt has no platform “" + demanded.toStdString() + "” (QT_QPA_PLATFORM), " + found.reason;
    return found;
}

bool hasEmbeddingTray(xcb_connection_t* display) {
    if (!display) return false;
    constexpr std::string_view selection = "_NET_SYSTEM_TRAY_S0";
    const std::unique_ptr<xcb_intern_atom_reply_t, FreeReply> atom(xcb_intern_atom_reply(
        display, xcb_intern_atom(display, 0, selection.size(), selection.data()), nullptr));
    if (!atom) return false;
    const std::unique_ptr<xcb_get_selection_owner_reply_t, FreeReply> owner(
        xcb_get_selection_owner_reply(display, xcb_get_selection_owner(display, atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

bool isWaylandDesktop() {
    return !environment("WAYLAND_DISPLAY").empty();
}

QStringList desktopNames() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
}

}  // namespace orvane
