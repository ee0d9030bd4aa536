// Bluetooth as the bridge needs it: paired devices, their service records, and RFCOMM channels. Main thread
// only; every callback is delivered there, never from within the call that asked for it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvane {

class BluetoothDevice;
class RfcommChannel;

/// Status codes: 0 is success, anything else is the system's own number for what went wrong.
using BluetoothStatus = std::int32_t;
constexpr BluetoothStatus bluetoothSuccess = 0;

/// A 128-bit UUID, most significant byte first.
using BluetoothUuid = std::array<std::uint8_t, 16>;

/// Hears the end of service queries.
class BluetoothQueryTarget {
  public:
    virtual ~BluetoothQueryTarget() = default;
    virtual void sdpQueryComplete(const std::shared_ptr<BluetoothDevice>& device, BluetoothStatus status) = 0;
};

/// Hears what happens on a channel.
class RfcommChannelDelegate {
  public:
    virtual ~RfcommChannelDelegate() = default;
    virtual void rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>& channel,
                                           BluetoothStatus status) = 0;
    /// `bytes` is valid during the call only.
    virtual void rfcommChannelData(const std::shared_ptr<RfcommChannel>& channel,
                                   std::span<const std::uint8_t> bytes) = 0;
    /// There is room again for bytes that `write` did not take.
    virtual void rfcommChannelQueueSpaceAvailable(const std::shared_ptr<RfcommChannel>& channel) = 0;
    /// The other side, or the system, has closed the channel; not called after `closeChannel`.
    virtual void rfcommChannelClosed(const std::shared_ptr<RfcommChannel>& channel) = 0;
};

/// One RFCOMM channel, from the moment its opening has been started. Holds its delegate weakly. Releasing the
/// last reference closes it.
class RfcommChannel {
  public:
    virtual ~RfcommChannel() = default;
    /// The most bytes that one write may carry; at least 1.
    virtual std::size_t mtu() const = 0;
    /// Writes one piece of at most `mtu` bytes without waiting. Returns how many of them, from the front, the
    /// system has taken; when it is not all of them, the delegate hears of it once there is room. A channel
    /// that is dead takes, and drops, everything.
    virtual std::size_t write(std::span<const std::uint8_t> bytes) = 0;
    /// Whether bytes are handed to the delegate; true at first. While not, they are left with the system,
    /// which holds the phone back, or, where it does not, kept up to a bound, beyond which the channel counts
    /// as closed. What a phone sent before it closed the channel is not lost: the close waits behind it.
    virtual void setReceiving(bool receiving) = 0;
    /// None: nothing is heard of the channel any more.
    virtual void setDelegate(const std::weak_ptr<RfcommChannelDelegate>& delegate) = 0;
    virtual void closeChannel() = 0;
};

/// One service record of a device, as last queried.
class SdpServiceRecord {
  public:
    virtual ~SdpServiceRecord() = default;
    /// True when the record carries every one of these UUIDs.
    virtual bool hasServiceFromArray(std::span<const BluetoothUuid> uuids) const = 0;
    virtual std::optional<std::string> serviceName() const = 0;
    /// The RFCOMM channel of the record, or nothing when it has none.
    virtual std::optional<std::uint8_t> rfcommChannelId() const = 0;
};

/// A device that the system knows. Two objects may stand for one device; the address tells.
class BluetoothDevice {
  public:
    virtual ~BluetoothDevice() = default;
    virtual std::optional<std::string> addressString() const = 0;
    virtual std::optional<std::string> name() const = 0;
    virtual bool isConnected() const = 0;
    /// Asks the device for its service records; `target` hears the end of it unless it has gone by then.
    virtual void performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) = 0;
    /// The record of the last query that carries `uuid`; null when there is none.
    virtual std::shared_ptr<SdpServiceRecord> serviceRecord(const BluetoothUuid& uuid) const = 0;
    /// All records of the last query.
    virtual std::vector<std::shared_ptr<SdpServiceRecord>> services() const = 0;
    /// Starts opening an RFCOMM channel. On success `channel` is set at once and `delegate` hears when it is
    /// open or has failed.
    virtual BluetoothStatus openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel,
                                                   std::uint8_t channelId,
                                                   const std::weak_ptr<RfcommChannelDelegate>& delegate) = 0;
    /// Drops the connection to the device, with every channel on it.
    virtual void closeConnection() = 0;
};

class Bluetooth {
  public:
    virtual ~Bluetooth() = default;
    /// Calls `ready` once the system's devices are known, or have been waited for long enough: from within
    /// the call where that is so by now, else later, and at most a quarter of a second later. Once.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): who overrides it keeps it.
    virtual void whenReady(std::function<void()> ready) { ready(); }
    /// Every paired device, in the system's order; empty on a machine without Bluetooth.
    virtual std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() = 0;
    /// The device with that address; null when the system knows none.
    virtual std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string& address) = 0;
    /// `refused` is called later, each time it turns out that the user does not let this program use
    /// Bluetooth any more. Never on a system that asks nobody.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): who overrides it keeps it.
    virtual void setRefusalHandler(std::function<void()> /*refused*/) {}
};

}  // namespace orvane
