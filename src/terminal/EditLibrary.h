// What is used of libedit, loaded for the first line that is typed at a terminal: nobody types one in a tray.
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

/// Null where it is not installed. Once loaded it stays.
const EditLibrary* editLibrary();

}  // namespace orvane
