#include "posix/WritableByAll.h"

#include "posix/Descriptor.h"

#include <filesystem>
#include <system_error>

#include <sys/stat.h>

namespace orvane {

namespace {

bool isOpenToAll(const struct stat& status) {
    const bool isOurs = status.st_uid == ::geteuid();
    return isOurs && (status.st_mode & S_IWOTH) != 0 && (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
}

bool isOpenToAll(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && isOpenToAll(status);
}

}  // namespace

std::vector<std::string> writableByAll(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    const std::string real = fs::canonical(folder, error).string();
    std::vector<std::string> found;
    if (isOpenToAll(real)) found.push_back(real);
    for (fs::directory_iterator entry(real, error), end; !error && entry != end; entry.increment(error))
        if (isOpenToAll(entry->path().string())) found.push_back(entry->path().string());
    return found;
}

bool closeToOthers(const std::string& path) {
    // By a descriptor: where everybody may write, a link may have come into the place of what was looked at.
    const Descriptor item(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (!item || ::fstat(item.get(), &status) != 0 || !isOpenToAll(status)) return false;
    return ::fchmod(item.get(), status.st_mode & 07777 & ~mode_t{S_IWOTH}) == 0;
}

}  // namespace orvane
