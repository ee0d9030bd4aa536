#include "support/TestBluetooth.h"

#include <algorithm>
#include <utility>

namespace orvane::test {

std::size_t TestRfcommChannel::write(std::span<const std::uint8_t> bytes) {
    const auto taken = bytes.first(std::min(bytes.size(), room.value_or(bytes.size())));
    if (room) *room -= taken.size();
    if (!taken.empty()) pieces.emplace_back(taken.begin(), taken.end());
    return taken.size();
}

void TestRfcommChannel::makeRoom(std::size_t bytes) {
    room = room.value_or(0) + bytes;
    if (const auto target = delegate.lock()) target->rfcommChannelQueueSpaceAvailable(shared_from_this());
}

void TestRfcommChannel::openComplete(BluetoothStatus status) {
    if (const auto target = delegate.lock()) target->rfcommChannelOpenComplete(shared_from_this(), status);
}

void TestRfcommChannel::receive(std::span<const std::uint8_t> bytes) {
    if (const auto target = delegate.lock()) target->rfcommChannelData(shared_from_this(), bytes);
}

void TestRfcommChannel::closedByPhone() {
    if (const auto target = delegate.lock()) target->rfcommChannelClosed(shared_from_this());
}

TestRfcommChannel::Bytes TestRfcommChannel::takeWritten() {
    Bytes all;
    for (const Bytes& piece : std::exchange(pieces, {}))
        all.insert(all.end(), piece.begin(), piece.end());
    return all;
}

bool TestServiceRecord::hasServiceFromArray(std::span<const BluetoothUuid> wanted) const {
    return std::ranges::all_of(
        wanted, [this](const BluetoothUuid& uuid) { return std::ranges::find(uuids, uuid) != uuids.end(); });
}

void TestBluetoothDevice::performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) {
    ++queryCount;
    queryTarget = target;
}

std::shared_ptr<SdpServiceRecord> TestBluetoothDevice::serviceRecord(const BluetoothUuid& uuid) const {
    for (const auto& record : records)
        if (record->hasServiceFromArray({&uuid, 1})) return record;
    return nullptr;
}

std::vector<std::shared_ptr<SdpServiceRecord>> TestBluetoothDevice::services() const {
    return {records.begin(), records.end()};
}

BluetoothStatus TestBluetoothDevice::openRfcommChannelAsync(
    std::shared_ptr<RfcommChannel>& channel, std::uint8_t channelId,
    const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    openedIds.push_back(channelId);
    if (openStatus != bluetoothSuccess) return openStatus;
    auto opened = std::make_shared<TestRfcommChannel>();
    opened->channelId = channelId;
    opened->delegate = delegate;
    opened->mtuValue = channelMtu;
    channels.push_back(opened);
    channel = opened;
    return bluetoothSuccess;
}

void TestBluetoothDevice::completeQuery(BluetoothStatus status) {
    if (const auto target = std::exchange(queryTarget, {}).lock())
        target->sdpQueryComplete(shared_from_this(), status);
}

void TestBluetoothDevice::addRecord(std::vector<BluetoothUuid> uuids, std::optional<std::string> name,
                                    std::optional<std::uint8_t> channelId) {
    auto record = std::make_shared<TestServiceRecord>();
    record->uuids = std::move(uuids);
    record->name = std::move(name);
    record->channelId = channelId;
    records.push_back(std::move(record));
}

std::shared_ptr<TestRfcommChannel> TestBluetoothDevice::lastChannel() const {
    return channels.empty() ? nullptr : channels.back();
}

std::shared_ptr<BluetoothDevice> TestBluetooth::deviceWithAddress(const std::string& address) {
    const auto found = byAddress.find(address);
    return found == byAddress.end() ? nullptr : found->second;
}

std::shared_ptr<TestBluetoothDevice> TestBluetooth::addDevice(const std::string& address,
                                                              const std::optional<std::string>& name,
                                                              bool connected) {
    auto device = std::make_shared<TestBluetoothDevice>();
    device->addressValue = address;
    device->nameValue = name;
    device->connected = connected;
    paired.push_back(device);
    byAddress[address] = device;
    return device;
}

}  // namespace orvane::test
