#include "linux/desktop/Display.h"

#include <QDir>
#include <QLibraryInfo>
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

std::string_view environment(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): asked before other threads.
    return value ? value : "";
}

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

bool qtSpeaksWayland() {
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    return !plugins.entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty();
}

bool waylandAnswers() {
    const std::string_view name = environment("WAYLAND_DISPLAY");
    if (name.empty() || !qtSpeaksWayland()) return false;
    if (name.starts_with('/')) return socketAnswers(std::string(name));
    return socketAnswers(std::string(environment("XDG_RUNTIME_DIR")) + "/" + std::string(name));
}

}  // namespace

std::string reachablePlatform() {
    const std::string_view demanded = environment("QT_QPA_PLATFORM");
    const bool x11Allowed = demanded.empty() || demanded.find("xcb") != demanded.npos;
    const bool waylandAllowed = demanded.empty() || demanded.find("wayland") != demanded.npos;
    if (!x11Allowed && !waylandAllowed) return std::string(demanded);
    // X11 first also where both answer: a Wayland client without the keyboard cannot set the clipboard, and
    // the tray's menu never has the keyboard.
    if (x11Allowed && x11Answers()) return "xcb";
    return waylandAllowed && waylandAnswers() ? "wayland" : "";
}

bool hasEmbeddingTray(xcb_connection_t* display) {
    constexpr std::string_view selection = "_NET_SYSTEM_TRAY_S0";
    const std::unique_ptr<xcb_intern_atom_reply_t, FreeReply> atom(xcb_intern_atom_reply(
        display, xcb_intern_atom(display, 0, selection.size(), selection.data()), nullptr));
    if (!atom) return false;
    const std::unique_ptr<xcb_get_selection_owner_reply_t, FreeReply> owner(
        xcb_get_selection_owner_reply(display, xcb_get_selection_owner(display, atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

}  // namespace orvane
