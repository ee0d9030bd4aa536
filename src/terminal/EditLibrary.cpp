#include "terminal/EditLibrary.h"

#include "posix/SharedLibrary.h"

#include <optional>

namespace orvane {

namespace {

std::optional<EditLibrary> load() {
    SharedLibrary library{"libedit.so.2", "libedit.so.0"};  // Debian's name, and everybody else's.
    EditLibrary edit{};
    library.find(edit.init, "el_init_fd");
    library.find(edit.end, "el_end");
    library.find(edit.set, "el_set");
    library.find(edit.get, "el_get");
    library.find(edit.gets, "el_wgets");
    library.find(edit.line, "el_line");
    library.find(edit.insert, "el_insertstr");
    library.find(edit.resize, "el_resize");
    library.find(edit.historyInit, "history_init");
    library.find(edit.historyEnd, "history_end");
    library.find(edit.historyCall, "history");
    return library.isComplete() ? std::optional(edit) : std::nullopt;
}

}  // namespace

const EditLibrary* editLibrary() {
    static const auto library = load();
    return library ? &*library : nullptr;
}

}  // namespace orvane
