#include "posix/FileText.h"

#include <fstream>
#include <sstream>
#include <utility>

namespace orvane {

std::string fileText(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();  // Stream iterators would throw.
    return std::move(text).str();
}

}  // namespace orvane
