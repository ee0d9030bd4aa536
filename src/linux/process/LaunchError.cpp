#include "linux/process/LaunchError.h"

#include "posix/Descriptor.h"
#include "text/HarmlessText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <sys/stat.h>

namespace orvane {

namespace {

/// The program that the first line names after "#!"; empty when there is none.
std::string interpreter(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 256> buffer;
    const ssize_t count = file ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
    std::string_view line(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    if (!line.starts_with("#!")) return {};
    line = line.substr(0, line.find('\n')).substr(2);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    return std::string(line.substr(0, line.find_first_of(" \t")));
}

}  // namespace

/// Of a folder the system says that permission is denied; of a file whose interpreter or loader is missing,
/// that the file itself is.
std::string launchError(const std::string& path, int error) {
    const auto text = [](int number) { return std::generic_category().message(number); };
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) return text(error);
    if (error == EACCES && S_ISDIR(status.st_mode)) return text(EISDIR);
    if (error != ENOENT) return text(error);
    const std::string missing = interpreter(path);
    if (missing.empty()) return "the system lacks the loader that it was built for";
    return "its interpreter “" + harmless(missing) + "” is missing";
}

}  // namespace orvane
