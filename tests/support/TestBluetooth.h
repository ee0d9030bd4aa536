// Scripted Bluetooth: devices and channels that do what a test says and record what they are asked.
#pragma once

#include "platform/Bluetooth.h"

#include <functional>
#include <map>

namespace orvane::test {

/// One end of an imagined RFCOMM link: keeps the pieces written, lets the test play the phone.
class TestRfcommChannel : public RfcommChannel, public std::enable_shared_from_this<TestRfcommChannel> {
  public:
    using Bytes = std::vector<std::uint8_t>;

    std::size_t mtu() const override { return mtuValue; }
    std::size_t write(std::span<const std::uint8_t> bytes) override;
    void setReceiving(bool value) override { receiving = value; }
    void setDelegate(const std::weak_ptr<RfcommChannelDelegate>& value) override { delegate = value; }
    void closeChannel() override {
        ++closeCount;
        if (onClose) onClose(*this);
    }

    /// The phone's side; each calls the delegate at once, and nothing when there is none.
    void openComplete(BluetoothStatus status = bluetoothSuccess);
    void receive(std::span<const std::uint8_t> bytes);
    void closedByPhone();
    /// The phone takes so many more bytes than before, which began as any number.
    void makeRoom(std::size_t bytes);

    /// Everything written since the last call, joined; forgets it.
    Bytes takeWritten();

    std::size_t mtuValue = 1000;
    std::optional<std::size_t> room;  ///< How many bytes the phone takes; nothing: any number.
    bool receiving = true;
    std::uint8_t channelId = 0;
    std::weak_ptr<RfcommChannelDelegate> delegate;
    std::vector<Bytes> pieces;
    int closeCount = 0;
    std::function<void(const TestRfcommChannel&)> onClose;
};

class TestServiceRecord : public SdpServiceRecord {
  public:
    bool hasServiceFromArray(std::span<const BluetoothUuid> uuids) const override;
    std::optional<std::string> serviceName() const override { return name; }
    std::optional<std::uint8_t> rfcommChannelId() const override { return channelId; }

    std::vector<BluetoothUuid> uuids;
    std::optional<std::string> name;
    std::optional<std::uint8_t> channelId;
};

class TestBluetoothDevice : public BluetoothDevice, public std::enable_shared_from_this<TestBluetoothDevice> {
  public:
    std::optional<std::string> addressString() const override { return addressValue; }
    std::optional<std::string> name() const override { return nameValue; }
    bool isConnected() const override { return connected; }
    void performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) override;
    std::shared_ptr<SdpServiceRecord> serviceRecord(const BluetoothUuid& uuid) const override;
    std::vector<std::shared_ptr<SdpServiceRecord>> services() const override;
    BluetoothStatus openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel, std::uint8_t channelId,
                                           const std::weak_ptr<RfcommChannelDelegate>& delegate) override;
    void closeConnection() override { ++closeConnectionCount; }

    /// Ends the query under way: its target hears `status`.
    void completeQuery(BluetoothStatus status = bluetoothSuccess);
    /// Adds a record with these UUIDs, name and channel.
    void addRecord(std::vector<BluetoothUuid> uuids, std::optional<std::string> name,
                   std::optional<std::uint8_t> channelId);
    /// The channel that was opened last; null before the first.
    std::shared_ptr<TestRfcommChannel> lastChannel() const;

    std::optional<std::string> addressValue;
    std::optional<std::string> nameValue;
    bool connected = false;
    std::vector<std::shared_ptr<TestServiceRecord>> records;
    BluetoothStatus openStatus = bluetoothSuccess;  ///< What starting to open answers.
    std::size_t channelMtu = 1000;

    int queryCount = 0;
    int closeConnectionCount = 0;
    std::weak_ptr<BluetoothQueryTarget> queryTarget;
    std::vector<std::uint8_t> openedIds;  ///< Every channel ID asked for, refused ones too.
    std::vector<std::shared_ptr<TestRfcommChannel>> channels;
};

class TestBluetooth : public Bluetooth {
  public:
    void whenReady(std::function<void()> ready) override {
        if (isReady) return ready();
        waiting = std::move(ready);
    }
    std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() override { return paired; }
    std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string& address) override;
    void setRefusalHandler(std::function<void()> refused) override { refuse = std::move(refused); }

    /// Adds a paired device that the system also finds by its address.
    std::shared_ptr<TestBluetoothDevice> addDevice(const std::string& address,
                                                   const std::optional<std::string>& name,
                                                   bool connected = false);

    std::vector<std::shared_ptr<BluetoothDevice>> paired;
    std::map<std::string, std::shared_ptr<BluetoothDevice>> byAddress;
    std::function<void()> refuse;  ///< As the user does.
    bool isReady = true;
    std::function<void()> waiting;  ///< For being ready.
};

}  // namespace orvane::test
