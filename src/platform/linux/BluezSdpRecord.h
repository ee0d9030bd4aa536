// Service records as a Bluetooth device answers them, decoded with libbluetooth. Pure: bytes in, values out.
#pragma once

#include "platform/Bluetooth.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvane {

/// What is kept of one record.
class BluezSdpRecord final : public SdpServiceRecord {
  public:
    bool hasServiceFromArray(std::span<const BluetoothUuid> uuids) const override;
    std::optional<std::string> serviceName() const override { return name; }
    std::optional<std::uint8_t> rfcommChannelId() const override { return channelId; }

    std::uint32_t handle = 0;          ///< The device's own number for the record.
    std::vector<BluetoothUuid> uuids;  ///< Its service classes; 16 and 32 bit ones expanded.
    std::optional<std::string> name;
    std::optional<std::uint8_t> channelId;
};

using BluezSdpRecords = std::vector<std::shared_ptr<BluezSdpRecord>>;

/// The records of one answer: a sequence of attribute lists (Bluetooth Core Specification, volume 3, part B,
/// AttributeLists). A record that cannot be decoded ends the list, and so does
/// the 256th.
BluezSdpRecords decodeSdpRecords(std::span<const std::uint8_t> attributeLists);

}  // namespace orvane
