// The relay's side towards the server: a TCP connection on this machine, written by the main thread and read
// by a thread of its own.
//
// Writing to the server blocks the main thread, and with it the menu, while the server does not read. So
// everything here that can block does so for at most `serverWait`; a server that takes longer is given up by
// ending the connection, which its reader then reports like any other end.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
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

/// The longest that connecting, or writing one payload, holds up its caller.
constexpr std::chrono::milliseconds serverWait{2000};

/// A TCP socket that no child inherits and whose death raises no SIGPIPE; -1 when there is none to be had.
int makeServerSocket();
/// Connects to 127.0.0.1 at `port` with Nagle's algorithm off. False when nobody accepts within `serverWait`.
bool connectToServer(int fd, std::uint16_t port);
/// Writes all of `bytes`. When that fails or takes longer than `serverWait`, the rest is dropped and the
/// connection ended.
void writeToServer(int fd, std::span<const std::uint8_t> bytes);
/// Ends the connection both ways, which wakes whoever reads it on another descriptor, and closes `fd`.
void closeServerSocket(int fd);

/// Reads one connection until its end and hands what arrives to the main thread, each read at once and by
/// itself.
///
/// It reads a descriptor of its own: `close` alone would not wake a thread that is reading, and the number
/// could stand for another file by the next read.
class LocalReader : public std::enable_shared_from_this<LocalReader> {
  public:
    using Bytes = std::vector<std::uint8_t>;
    static constexpr std::size_t readSize = 2048;
    /// How many chunks may wait for the main thread. At that many the reader pauses and the rest stays with
    /// the kernel, so a slow phone costs at most half a megabyte here.
    static constexpr std::size_t maxWaiting = 256;

    /// What the main thread is told. Called there, in the order of the stream.
    struct Handlers {
        std::function<void(const Bytes& chunk)> received;
        std::function<void()> ended;  ///< Once, after the last chunk; also after `stop`.
    };

    /// `fd` stays the caller's.
    LocalReader(int fd, RunLoop& runLoop, Handlers handlers);
    ~LocalReader();
    LocalReader(const LocalReader&) = delete;
    LocalReader& operator=(const LocalReader&) = delete;

    /// False when there was no descriptor left for it.
    bool isOpen() const { return fd_ >= 0; }
    /// The body of the reader's thread: returns when the connection is gone, or after `stop`.
    void run();
    /// Nothing read after this is handed on. Any thread; the connection must be ended too, to wake a reader
    /// that waits for bytes.
    void stop();

  private:
    bool waitForRoom();
    void post(Bytes chunk);
    void handled();

    int fd_;  ///< Our own duplicate; -1 once `run` has returned.
    RunLoop& runLoop_;
    const Handlers handlers_;
    std::atomic<bool> stopped_ = false;
    std::mutex mutex_;
    std::condition_variable roomOrStop_;
    std::size_t waiting_ = 0;  ///< Chunks posted and not handled yet.
};

}  // namespace orvane
