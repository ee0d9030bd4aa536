// Sockets of the kernel's Bluetooth protocols (<bluetooth/rfcomm.h>, <bluetooth/l2cap.h>), connected without
// ever blocking the caller. Errors are errno values. Any thread, one thread per socket.
#pragma once

#include "platform/Bluetooth.h"

#include <cstdint>
#include <optional>
#include <string>

#include <bluetooth/bluetooth.h>

namespace orvane {

/// Owns a descriptor and closes it exactly once.
class BluezSocket {
  public:
    BluezSocket() = default;
    explicit BluezSocket(int fd) : fd_(fd) {}
    BluezSocket(BluezSocket&& other) noexcept : fd_(other.release()) {}
    BluezSocket& operator=(BluezSocket&& other) noexcept;
    ~BluezSocket() { close(); }

    /// -1 when there is none.
    int fd() const { return fd_; }
    bool isOpen() const { return fd_ >= 0; }
    void close();

  private:
    int release();

    int fd_ = -1;
};

/// An address as BlueZ prints it, in either case: "00:1A:7D:DA:71:13".
std::optional<bdaddr_t> parseBluetoothAddress(const std::string& text);

/// Starts connecting from the adapter `local` (all zero: any adapter). `error` is set to the errno when
/// nothing could be started; the socket is then closed.
BluezSocket startRfcommConnect(const bdaddr_t& local, const bdaddr_t& remote, std::uint8_t channel,
                               BluetoothStatus& error);
/// The same for the device's service discovery server.
BluezSocket startSdpConnect(const bdaddr_t& local, const bdaddr_t& remote, BluetoothStatus& error);

/// How the connecting has ended: 0 or an errno; nothing while it still goes on.
std::optional<BluetoothStatus> connectResult(const BluezSocket& socket);

}  // namespace orvane
