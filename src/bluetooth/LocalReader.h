// Reading the server's socket, on a thread of its own.
#pragma once

#include "posix/Descriptor.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace orvane {

class RunLoop;

/// Reads one connection until its end and hands what arrives to the main thread, each read at once and by
/// itself: in chunks of at most 2 KiB, each of them a frame for the phone.
///
/// It reads a descriptor of its own: `close` alone would not wake a thread that is reading, and the number
/// could stand for another file by the next read.
class LocalReader : public std::enable_shared_from_this<LocalReader> {
  public:
    /// The most that one chunk holds. Where more waits to be read, it is fetched by one call and handed on in
    /// chunks of this size, as so many reads would have.
    static constexpr std::size_t chunkSize = 2048;
    static constexpr std::size_t chunksAtOnce = 16;
    /// How many chunks may wait for the main thread, at most 128 KiB. At that many the reader pauses and the
    /// rest stays with the kernel.
    static constexpr std::size_t maxWaiting = 64;

    /// What the main thread is told. Called there, in the order of the stream.
    struct Handlers {
        /// `moreFollow`: another chunk has been read already, and comes next.
        std::function<void(std::span<const std::uint8_t> chunk, bool moreFollow)> received;
        std::function<void()> ended;  ///< Once, after the last chunk; also after `stop`.
    };

    /// `fd` stays the caller's.
    LocalReader(int fd, RunLoop& runLoop, Handlers handlers);
    LocalReader(const LocalReader&) = delete;
    LocalReader& operator=(const LocalReader&) = delete;

    /// False when there was no descriptor left for it.
    bool isOpen() const { return static_cast<bool>(fd_); }
    /// The body of the reader's thread: returns when the connection is gone, or after `stop`.
    void run();
    /// While it is held it reads nothing further. Any thread.
    void hold(bool held);
    /// Nothing read after this is handed on. Any thread; the connection must be ended too, to wake a reader
    /// that waits for bytes.
    void stop();

  private:
    std::size_t waitForRoom();
    void post(std::span<const std::uint8_t> bytes);
    void handOn(std::vector<std::uint8_t>& bytes);
    bool handled();

    Descriptor fd_;  ///< Our own duplicate; none once `run` has returned.
    RunLoop& runLoop_;
    const Handlers handlers_;
    std::atomic<bool> stopped_ = false;
    std::mutex mutex_;
    std::condition_variable mayGoOn_;
    bool held_ = false;
    std::size_t waiting_ = 0;  ///< Chunks posted and not handled yet.
    /// What the last bytes handed on were in: that one thread frees what the other allocates takes the heap
    /// long.
    std::vector<std::uint8_t> spare_;
};

}  // namespace orvane
