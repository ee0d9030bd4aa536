#include "posix/PendingBytes.h"

#include <cerrno>

#include <sys/ioctl.h>
#include <unistd.h>

namespace orvane {

std::size_t pendingBytes(int reading) {
    int count = 0;
    if (::ioctl(reading, FIONREAD, &count) != 0) return 0;
    return static_cast<std::size_t>(count);
}

std::string readPending(int reading) {
    std::string bytes(pendingBytes(reading), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = ::read(reading, bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

}  // namespace orvane
