#include "linux/tray/EmbeddingTray.h"

#include <QGuiApplication>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include <xcb/xcb.h>

namespace orvane {

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using Owned = std::unique_ptr<Reply, FreeReply>;

xcb_atom_t atomNamed(xcb_connection_t* display, std::string_view name) {
    const auto cookie = xcb_intern_atom(display, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Asks for those events in addition to what Qt, on the same connection, has asked for.
void listen(xcb_connection_t* display, xcb_window_t window) {
    const Owned<xcb_get_window_attributes_reply_t> now(
        xcb_get_window_attributes_reply(display, xcb_get_window_attributes(display, window), nullptr));
    if (!now) return;
    const std::uint32_t events = now->your_event_mask | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(display, window, XCB_CW_EVENT_MASK, &events);
    xcb_flush(display);
}

}  // namespace

EmbeddingTray::EmbeddingTray(std::function<void(bool)> changed) : changed_(std::move(changed)) {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    display_ = x11 ? x11->connection() : nullptr;  // Null also where Qt only pretends to have a screen.
    if (!display_) return;
    selection_ = atomNamed(display_, "_NET_SYSTEM_TRAY_S0");
    manager_ = atomNamed(display_, "MANAGER");
    // A tray that comes says so to the root window.
    listen(display_, xcb_setup_roots_iterator(xcb_get_setup(display_)).data->root);
    ask();
    qGuiApp->installNativeEventFilter(this);
}

EmbeddingTray::~EmbeddingTray() {
    if (display_) qGuiApp->removeNativeEventFilter(this);
}

void EmbeddingTray::ask() {
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(display_, xcb_get_selection_owner(display_, selection_), nullptr));
    owner_ = owner ? owner->owner : xcb_window_t{XCB_NONE};
    if (owner_ != XCB_NONE) listen(display_, owner_);  // To hear of its end.
}

void EmbeddingTray::lookAgain() {
    const auto before = owner_;
    ask();
    if (before != owner_) changed_(isPresent());
}

bool EmbeddingTray::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const int kind = event->response_type & 0x7F;
    if (kind == XCB_CLIENT_MESSAGE) {
        const auto* told = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (told->type == manager_ && told->data.data32[1] == selection_) lookAgain();
    } else if (kind == XCB_DESTROY_NOTIFY) {
        const auto* gone = reinterpret_cast<const xcb_destroy_notify_event_t*>(event);
        if (owner_ != XCB_NONE && gone->window == owner_) lookAgain();
    }
    return false;
}

}  // namespace orvane
