// What is used of libedit, loaded when there is a terminal to type at: a tray has none.
#pragma once

#include <histedit.h>

namespace orvane {

/// The functions that libedit calls el_set, history_init and so on.
struct EditLibrary {
    decltype(&el_init_fd) init;
    decltype(&el_end) end;
    decltype(&el_set) set;
    decltype(&el_get) get;
    decltype(&el_wgets) gets;
    decltype(&el_line) line;
    decltype(&el_insertstr) insert;
    decltype(&el_resize) resize;
    decltype(&history_init) historyInit;
    decltype(&history_end) historyEnd;
    decltype(&history) historyCall;
};

/// Null where it cannot be loaded. Once loaded it stays. Any thread.
const EditLibrary* editLibrary();

}  // namespace orvane
