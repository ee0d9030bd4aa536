// A server on 127.0.0.1 in place of the real one: what the bridge's relay connects to. Every wait is by
// condition and ends after ten seconds at most.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orvane::test {

/// A descriptor with an owner.
class OwnedFd {
  public:
    explicit OwnedFd(int fd = -1) : fd_(fd) {}
    OwnedFd(OwnedFd&& other) noexcept : fd_(other.release()) {}
    OwnedFd& operator=(OwnedFd&& other) noexcept;
    ~OwnedFd() { reset(); }
    int get() const { return fd_; }
    int release();
    void reset();

  private:
    int fd_;
};

/// The server's end of one accepted connection.
class ServerConnection {
  public:
    explicit ServerConnection(int fd) : fd_(fd) {}

    bool isOpen() const { return fd_.get() >= 0; }
    /// Blocks until all is written; false on an error.
    bool write(std::span<const std::uint8_t> bytes);
    /// Reads up to `size` bytes: fewer at the end of the stream, or when nothing arrives any more.
    std::vector<std::uint8_t> read(std::size_t size);
    /// True when the stream ends, orderly or not, without another byte.
    bool atEnd();
    void close() { fd_.reset(); }
    int fd() const { return fd_.get(); }

  private:
    OwnedFd fd_;
};

class LoopbackBluetoothServer {
  public:
    /// Takes a port of its own, on which connections are refused until `listen`.
    LoopbackBluetoothServer();

    std::uint16_t port() const { return port_; }
    void listen(int backlog = 8);
    /// Small receive buffers for the connections accepted from now on.
    void setReceiveBuffer(int bytes);
    /// The next connection; not open when none comes.
    ServerConnection accept();

  private:
    OwnedFd listener_;
    std::uint16_t port_ = 0;
};

}  // namespace orvane::test
