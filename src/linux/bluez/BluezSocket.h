// Sockets of the kernel's Bluetooth protocols (<bluetooth/rfcomm.h>, <bluetooth/l2cap.h>), connected without
// ever blocking the caller. Errors are errno values. Any thread, one thread per socket.
#pragma once

#include "platform/Bluetooth.h"
#include "posix/Descriptor.h"

#include <cstdint>
#include <optional>
#include <string_view>

#include <bluetooth/bluetooth.h>

namespace orvane {

/// An address as BlueZ prints it, in either case: "00:1A:7D:DA:71:13".
std::optional<bdaddr_t> parseBluetoothAddress(std::string_view text);

/// Starts connecting from the adapter `local` (all zero: any adapter). `error` is set to the errno when
/// nothing could be started; the socket is then closed.
Descriptor startRfcommConnect(const bdaddr_t& local, const bdaddr_t& remote, std::uint8_t channel,
                              BluetoothStatus& error);
/// The same for the device's service discovery server.
Descriptor startSdpConnect(const bdaddr_t& local, const bdaddr_t& remote, BluetoothStatus& error);

/// How the connecting has ended: 0 or an errno; nothing while it still goes on.
std::optional<BluetoothStatus> connectResult(const Descriptor& socket);

}  // namespace orvane
