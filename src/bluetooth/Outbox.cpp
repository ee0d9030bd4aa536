#include "bluetooth/Outbox.h"

#include <utility>

namespace orvane {

Outbox::Outbox(RunLoop& runLoop, const Clock& clock, Handlers handlers)
    : runLoop_(runLoop), clock_(clock), handlers_(std::move(handlers)) {}

void Outbox::push(std::span<const std::uint8_t> bytes) {
    if (isEmpty()) bytes = bytes.subspan(write(bytes));
    if (bytes.empty()) return;
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    if (size() >= fullSize) full_ = true;
    if (timer_) return;
    moved_ = clock_.now();
    unread_.reset();
    timer_ = runLoop_.scheduledTimer(lookInterval, [this] { look(); });
}

void Outbox::flush() {
    const std::size_t count = write(std::span<const std::uint8_t>(bytes_).subspan(taken_));
    if (count == 0) return;
    taken_ += count;
    moved_ = clock_.now();
    dropTaken();
    if (!full_ || size() > fullSize / 2) return;
    full_ = false;
    handlers_.hasRoom();
}

void Outbox::clear() {
    taken_ = bytes_.size();
    full_ = false;
    dropTaken();
}

std::size_t Outbox::write(std::span<const std::uint8_t> bytes) {
    std::size_t total = 0;
    while (total < bytes.size()) {
        const std::size_t count = handlers_.write(bytes.subspan(total));
        if (count == 0) break;
        total += count;
    }
    return total;
}

void Outbox::dropTaken() {
    if (isEmpty()) timer_.reset();
    // Only when it is the greater half, so that no byte is moved more than once on average.
    if (taken_ <= bytes_.size() / 2) return;
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(taken_));
    taken_ = 0;
}

void Outbox::look() {
    // Room is announced late, say when half of what the system keeps is free: something may have moved.
    flush();
    if (isEmpty()) return;
    if (hasMovedOn()) moved_ = clock_.now();
    if (clock_.now() - moved_ < patience) return;
    timer_.reset();
    const Block stalled = handlers_.stalled;  // It may destroy this.
    stalled();
}

/// What was taken may go on though there is no room yet: TCP tells of room in great steps only.
bool Outbox::hasMovedOn() {
    const auto before = std::exchange(unread_, handlers_.unread());
    return before && unread_ && *unread_ != *before;
}

}  // namespace orvane
