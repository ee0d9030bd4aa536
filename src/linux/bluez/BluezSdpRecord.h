// Service records as a Bluetooth device answers them. Pure: bytes in, values out.
//
// Decoded here, and not by libbluetooth: on some malformed lists its decoder allocates for ever, and whatever
// is paired can send such a list.
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
    bool hasServiceFromArray(std::span<const BluetoothUuid> wanted) const override;
    std::optional<std::string> serviceName() const override { return name; }
    std::optional<std::uint8_t> rfcommChannelId() const override { return channelId; }

    std::optional<std::uint32_t> handle;  ///< The device's own number for the record.
    std::vector<BluetoothUuid> uuids;     ///< Its service classes; those of 16 and 32 bits expanded.
    std::optional<std::string> name;
    std::optional<std::uint8_t> channelId;
};

using BluezSdpRecords = std::vector<std::shared_ptr<BluezSdpRecord>>;

/// The records of one answer: a sequence of attribute lists (Bluetooth Core Specification, volume 3, part B,
/// 3 and 4.7.2). What cannot be decoded ends its sequence, and so does the 256th record; attributes of an
/// unexpected type count as absent. Linear in the size of `attributeLists`.
BluezSdpRecords decodeSdpRecords(std::span<const std::uint8_t> attributeLists);

/// Adds those of another search that the device has not given already, as their handles tell. Within one
/// search each is a record of its own, whatever its handle.
void addMissingSdpRecords(BluezSdpRecords& records, const BluezSdpRecords& more);

}  // namespace orvane
