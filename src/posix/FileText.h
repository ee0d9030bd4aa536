// The text of a small file.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace orvane {

/// All bytes of the file; those before the fault where it cannot be read to its end, as of a process in /proc
/// that goes meanwhile; empty where it cannot be opened. (Stream iterators would throw.)
inline std::string fileText(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return std::move(text).str();
}

}  // namespace orvane
