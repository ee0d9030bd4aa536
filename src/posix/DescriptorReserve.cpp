#include "posix/DescriptorReserve.h"

namespace orvane {

namespace {

/// As many as there are, at most `count`. Out of the way of the low numbers, as far as the limit allows.
std::vector<Descriptor> take(std::size_t count) {
    constexpr int high = 100;
    std::vector<Descriptor> taken;
    while (taken.size() < count) {
        Descriptor next(taken.empty() ? ::open("/dev/null", O_RDONLY | O_CLOEXEC)
                                      : ::fcntl(taken.front().get(), F_DUPFD_CLOEXEC, high));
        if (!next && !taken.empty()) next.reset(::fcntl(taken.front().get(), F_DUPFD_CLOEXEC, 0));
        if (!next) break;
        taken.push_back(std::move(next));
    }
    return taken;
}

}  // namespace

bool DescriptorReserve::release() {
    held_.clear();
    return take(enough).size() == enough;
}

void DescriptorReserve::fill() {
    if (!held_.empty()) return;
    auto taken = take(2 * size);
    if (taken.size() < 2 * size) return;
    taken.resize(size);
    held_ = std::move(taken);
}

}  // namespace orvane
