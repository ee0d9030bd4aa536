// One remote device: what BlueZ says of it (org.bluez.Device1, BlueZ's device-api.txt), and the operations on
// it. BluezBluetooth makes the devices and keeps them up to date. Main thread only.
#pragma once

#include "linux/bluez/BluezSdpQuery.h"
#include "platform/Bluetooth.h"
#include "platform/RunLoop.h"
#include "platform/Threads.h"

#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

class BluezDevice final : public BluetoothDevice, public std::enable_shared_from_this<BluezDevice> {
  public:
    /// What a device needs of its surroundings; all of it outlives the device.
    struct Context {
        RunLoop& runLoop;
        Threads& threads;
        /// The address to connect from; all zero: any adapter.
        std::function<bdaddr_t()> adapter;
        std::function<void()> disconnect;  ///< Asks BlueZ to drop the connection; returns at once.
        /// Reads the records, in a thread of its own.
        std::function<BluezSdpAnswer(const bdaddr_t& local, const bdaddr_t& remote)> query = querySdp;
    };

    explicit BluezDevice(Context context) : context_(std::move(context)) {}

    /// Takes over the properties that are there; the others stay.
    void update(const QVariantMap& properties);
    /// BlueZ, or the pairing, has gone: whoever still holds the device finds it neither paired nor connected.
    void forget();
    /// Paired for good, and of the kind that has RFCOMM.
    bool isPaired() const { return paired_ && bonded_ && !randomAddress_ && !lowEnergyOnly(); }

    std::optional<std::string> addressString() const override;
    /// The name that the user gave the device, else its own; nothing when it has told none yet.
    std::optional<std::string> name() const override;
    bool isConnected() const override { return connected_; }
    /// At most one query runs for a device: a target that asks meanwhile hears the end of that one.
    void performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) override;
    std::shared_ptr<SdpServiceRecord> serviceRecord(const BluetoothUuid& uuid) const override;
    std::vector<std::shared_ptr<SdpServiceRecord>> services() const override;
    BluetoothStatus openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel, std::uint8_t channelId,
                                           const std::weak_ptr<RfcommChannelDelegate>& delegate) override;
    void closeConnection() override { context_.disconnect(); }

  private:
    bool lowEnergyOnly() const;
    bool startQuery(const bdaddr_t& remote);
    void failQuery(BluetoothStatus status);
    void queryEnded(const BluezSdpAnswer& answer);

    Context context_;
    std::string address_;
    std::string alias_;
    std::string name_;
    bool paired_ = false;
    bool bonded_ = true;  ///< BlueZ before 5.65 does not tell; its paired devices are bonded ones.
    bool connected_ = false;
    bool randomAddress_ = false;        ///< As only devices without RFCOMM have.
    bool hasClass_ = false;             ///< A class of device is told by a classic radio only.
    std::optional<QStringList> uuids_;  ///< Of its services; nothing until BlueZ tells.
    BluezSdpRecords records_;
    std::vector<std::weak_ptr<BluetoothQueryTarget>> waiting_;  ///< Not empty: a query runs.
};

}  // namespace orvane
