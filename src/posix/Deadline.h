// A moment up to which something is waited for, and poll(2) up to that moment.
#pragma once

#include <chrono>
#include <span>

#include <poll.h>

namespace orvane {

/// By a clock that never goes back. A value.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    static Deadline after(Clock::duration patience) { return Deadline(Clock::now() + patience); }
    static Deadline never() { return Deadline(Clock::time_point::max()); }

    bool operator<(const Deadline& other) const { return at_ < other.at_; }
    bool hasPassed() const { return at_ <= Clock::now(); }
    /// What is left of the time; 0 and less once it has passed.
    Clock::duration left() const { return at_ - Clock::now(); }
    /// What is left as poll(2) wants it: in milliseconds, rounded up, so that nobody wakes too early; -1 for
    /// never. A long time is cut to an hour.
    int milliseconds() const;

  private:
    explicit Deadline(Clock::time_point at) : at_(at) {}

    Clock::time_point at_;
};

/// Waits until one of `sources` has an event, which stands in `revents` then, whatever signals arrive. False
/// when the deadline passes before, or when poll(2) fails. A deadline that has passed only looks.
bool pollUntil(std::span<pollfd> sources, Deadline deadline);
/// The same for one descriptor. An error or the end of the stream is an event too.
bool pollUntil(int descriptor, short events, Deadline deadline);

}  // namespace orvane
