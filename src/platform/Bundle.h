// Where the program lies, and where its resources do.
#pragma once

#include <optional>
#include <string>

namespace orvane {

/// Both paths are absolute. Found once, at the start: an upgrade may replace the files while the program
/// runs.
struct Bundle {
    std::string executablePath;
    std::optional<std::string> resourceDirectory;  ///< Nothing when the program was installed without one.
};

}  // namespace orvane
