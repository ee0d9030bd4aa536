// Where the program lies (/proc/self/exe, proc(5)), and where its resources do.
#pragma once

#include "platform/Bundle.h"

namespace orvane {

/// `../share/orvane` from the executable's folder, when the program is installed (in a folder `bin`), else
/// `resources` in it, as a build makes it; nothing when neither exists. Programs lie there that are run: so a
/// folder counts only when it and all above it belong to root or the user, and nobody else may change what is
/// in it.
std::optional<std::string> findResources(const std::string& executablePath);

/// Those of the running program.
Bundle findBundle();

}  // namespace orvane
