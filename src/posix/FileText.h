// The text of a small file.
#pragma once

#include <string>

namespace orvane {

/// All bytes of the file; those before the fault where it cannot be read to its end, as of a process in /proc
/// that goes meanwhile; empty where it cannot be opened.
std::string fileText(const std::string& path);

}  // namespace orvane
