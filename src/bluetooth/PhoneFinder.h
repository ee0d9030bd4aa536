// Which phones there are: the paired ones, those that offer our service, and by which channels a phone can be
// reached. Asks one phone at a time; the answers come to the bridge. Main thread only.
#pragma once

#include "model/BluetoothOffer.h"
#include "platform/Bluetooth.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orvane {

class PhoneFinder {
  public:
    using ChannelIds = std::set<std::uint8_t, std::greater<>>;  ///< The highest first.

    /// `bluetooth` outlives the finder.
    explicit PhoneFinder(Bluetooth& bluetooth) : bluetooth_(bluetooth) {}

    /// The paired devices that have an address, each address once, in the system's order.
    static std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices(Bluetooth& bluetooth);
    /// The RFCOMM channels that the device's records give for our service; no record, no channel.
    static ChannelIds channelIds(const BluetoothDevice& device);

    /// Null when the system knows no such device, or none is asked for.
    std::shared_ptr<BluetoothDevice> find(const std::optional<std::string>& address) const;
    /// What to call the phone: its name, else its address; "phone" without one.
    std::string nameOf(const std::optional<std::string>& address) const;

    /// Asks one of the connected phones, the next one each time, whether it offers the service; with none
    /// connected, nothing is on offer. `target` hears the answer.
    void sweep(const std::weak_ptr<BluetoothQueryTarget>& target);
    /// Takes over what a device has answered.
    void update(const BluetoothDevice& device);
    /// The phones that offer the service; the one found last is at the end.
    const std::vector<BluetoothOffer>& offering() const { return offering_; }

  private:
    Bluetooth& bluetooth_;
    std::vector<BluetoothOffer> offering_;
    std::size_t sweepIndex_ = 0;
};

}  // namespace orvane
