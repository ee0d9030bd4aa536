#include "posix/Deadline.h"

#include <algorithm>
#include <cerrno>

namespace orvane {

int Deadline::milliseconds() const {
    using std::chrono::milliseconds;
    constexpr milliseconds max = std::chrono::hours(1);
    if (at_ == Clock::time_point::max()) return -1;
    return static_cast<int>(
        std::clamp(std::chrono::ceil<milliseconds>(left()), milliseconds(0), max).count());
}

bool pollUntil(std::span<pollfd> sources, Deadline deadline) {
    while (true) {
        const int timeout = deadline.milliseconds();
        const int ready = ::poll(sources.data(), static_cast<nfds_t>(sources.size()), timeout);
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
        if (timeout == 0) return false;  // Also when interrupted: the look was taken.
    }
}

bool pollUntil(int descriptor, short events, Deadline deadline) {
    pollfd source{descriptor, events, 0};
    return pollUntil({&source, 1}, deadline);
}

}  // namespace orvane
