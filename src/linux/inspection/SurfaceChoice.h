// Where the program shows itself: on a desktop that works, else on a terminal that somebody can type at.
#pragma once

#include "platform/Inspection.h"

#include <string>

namespace orvane {

struct SurfaceChoice {
    enum class Kind { desktop, terminal, none };

    Kind kind = Kind::none;
    std::string platform;       ///< Of Qt, for a desktop.
    std::string reason;         ///< Why this one, for people.
    bool isSecondBest = false;  ///< The user has demanded something that there is not.
};

/// `terminalWanted`: the user has asked for the terminal, which is then taken whatever is typed at it.
SurfaceChoice chooseSurface(bool terminalWanted);

/// The choice in more detail: on a desktop the kind of tray, if there is one. Asks the display and the
/// session bus; an application object must exist. Any thread.
SurfaceFacts surfaceFacts(const SurfaceChoice& choice);

}  // namespace orvane
