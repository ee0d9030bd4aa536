// What the sanitizers are told: what libraries do among themselves is not ours to judge. Anything of this
// program's that takes part in it is still reported.

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the sanitizers' own names.
extern "C" {

const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
    // libedit keeps the names of functions that were added to an editor, and ncurses what it knows of a
    // terminal (libtinfo). Their callers do not show in the stack.
    return "leak:wcsdup\n"
           "leak:libtinfo.so\n";
}

const char* __tsan_default_suppressions();
const char* __tsan_default_suppressions() {
    // They are not instrumented: their locks are not seen, and so everything behind them looks unguarded.
    return "called_from_lib:libQt6Core.so\n"
           "called_from_lib:libQt6DBus.so\n"
           "called_from_lib:libQt6Gui.so\n"
           "called_from_lib:libQt6Widgets.so\n"
           "called_from_lib:libQt6XcbQpa.so\n"
           "called_from_lib:libdbus-1.so\n"
           "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libpulse.so\n"
           "called_from_lib:libxcb.so\n"
           // Asked by Qt's own thread for D-Bus of what is registered with it, under Qt's lock, which
           // registering and its end take, too.
           "race:orvane::BluezBluetooth::metaObject\n"
           "race:orvane::DBusMenu::metaObject\n"
           "race:orvane::StatusNotifierHost::metaObject\n"
           "race:orvane::StatusNotifierItem::metaObject\n"
           // The same thread writes signals down, from copies that the message owns.
           "race:QDBusMetaType::marshall\n"
           // The last thing that Qt does there is to leave a lock of its own: so it looks as if it were we,
           // and that it has taken it is not seen. There is no other lock in it.
           "mutex:orvane::StatusNotifierItem::~StatusNotifierItem\n";
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)
