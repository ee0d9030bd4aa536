// Bytes for somebody who may not take them at once: what cannot be written yet waits here, in order, and
// never holds up the caller. Main thread only.
#pragma once

#include "platform/RunLoop.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace orvane {

class Outbox {
  public:
    /// Writes from the front of the bytes without waiting; returns how many were taken.
    using Writer = std::function<std::size_t(std::span<const std::uint8_t>)>;

    /// From so many bytes on it is full. What is pushed into a full one is kept all the same: whoever fills
    /// it is to stop.
    static constexpr std::size_t fullSize = 65536;
    /// Bytes that wait for so long without anything moving have stalled.
    static constexpr Duration patience{2.0};
    /// How often it is looked, while bytes wait, whether anything has moved.
    static constexpr Duration lookInterval{0.5};

    struct Handlers {
        Writer write;
        /// How many of the bytes taken are still on their way; a change is a movement. May say nothing.
        std::function<std::optional<std::size_t>()> unread = [] { return std::nullopt; };
        Block hasRoom;  ///< It was full, and is so no longer.
        Block stalled;  ///< Bytes wait, and have stalled; may destroy the outbox.
    };

    /// The roles outlive the outbox.
    Outbox(RunLoop& runLoop, const Clock& clock, Handlers handlers);
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// Puts the bytes behind those that wait already. They are not written before the next `send`, which must
    /// follow within this turn of the run loop or the next: many small pieces go out in one write.
    void add(std::span<const std::uint8_t> bytes);
    /// Writes what has been added, unless bytes before it wait for room, and keeps what is not taken.
    void send();
    /// There may be room: writes what waits.
    void flush();
    /// Forgets what waits, and that it was full.
    void clear();

    std::size_t size() const { return bytes_.size() - taken_; }
    bool isEmpty() const { return size() == 0; }
    /// True from `fullSize` bytes on until no more than half of that wait.
    bool isFull() const { return full_; }

  private:
    std::size_t write();
    void dropTaken();
    void look();
    bool hasMovedOn();

    RunLoop& runLoop_;
    const Clock& clock_;
    const Handlers handlers_;
    std::vector<std::uint8_t> bytes_;
    std::size_t taken_ = 0;  ///< How many of `bytes_` have been written already.
    bool full_ = false;
    TimePoint moved_;                    ///< When anything was last seen to move, or bytes began to wait.
    std::optional<std::size_t> unread_;  ///< As last looked at, while bytes wait.
    std::unique_ptr<Timer> timer_;
};

}  // namespace orvane
