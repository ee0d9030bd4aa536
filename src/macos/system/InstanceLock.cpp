#include "macos/system/InstanceLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace orvane {

InstanceLock::InstanceLock(const std::string& path)
    : file_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (file_) first_ = ::flock(file_.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

}  // namespace orvane
