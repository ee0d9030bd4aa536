#include "bluetooth/Outbox.h"

#include <utility>

namespace orvane {

Outbox::Outbox(RunLoop& runLoop, const Clock& clock, Handlers handlers)
    : runLoop_(runLoop), clock_(clock), handlers_(std::move(handlers)) {}

void Outbox::add(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void Outbox::send() {
    const bool waiting = timer_ != nullptr;
    if (!waiting) write();
    if (size() >= fullSize) full_ = true;
    if (waiting || isEmpty()) return;
    moved_ = clock_.now();
    unread_.reset();
    timer_ = runLoop_.scheduledTimer(lookInterval, [this] { look(); });
}

void Outbox::flush() {
    if (write() == 0) return;
    moved_ = clock_.now();
    if (!full_ || size() > fullSize / 2) return;
    full_ = false;
    handlers_.hasRoom();
}

void Outbox::clear() {
    taken_ = bytes_.size();
    full_ = false;
    dropTaken();
}

/// Returns how many bytes were taken.
std::size_t Outbox::write() {
    const std::size_t before = size();
    while (!isEmpty()) {
        const std::size_t count = handlers_.write(std::span<const std::uint8_t>(bytes_).subspan(taken_));
        if (count == 0) break;
        taken_ += count;
    }
    const std::size_t written = before - size();
    dropTaken();
    return written;
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
