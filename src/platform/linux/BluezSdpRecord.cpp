#include "platform/linux/BluezSdpRecord.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <bluetooth/bluetooth.h>
#include <bluetooth/sdp.h>
#include <bluetooth/sdp_lib.h>

namespace orvane {

namespace {

constexpr std::size_t maximumRecords = 256;

struct RecordDeleter {
    void operator()(sdp_record_t* record) const { sdp_record_free(record); }
};
using DecodedRecord = std::unique_ptr<sdp_record_t, RecordDeleter>;

// The tree comes from the device: each node says of what type it is, and nothing may be taken for granted.
bool isUuid(const sdp_data_t& data) {
    return data.dtd >= SDP_UUID16 && data.dtd <= SDP_UUID128;
}

const sdp_data_t* firstOfSequence(const sdp_data_t* data) {
    return data != nullptr && SDP_IS_SEQ(data->dtd) ? data->val.dataseq : nullptr;
}

const sdp_data_t* attribute(const sdp_record_t& record, std::uint16_t id) {
    return sdp_data_get(&record, id);
}

std::optional<BluetoothUuid> expanded(const uuid_t& uuid) {
    const std::unique_ptr<uuid_t, decltype(&bt_free)> whole(sdp_uuid_to_uuid128(&uuid), &bt_free);
    if (whole == nullptr) return std::nullopt;
    BluetoothUuid bytes;
    std::memcpy(bytes.data(), &whole->value.uuid128, bytes.size());
    return bytes;
}

std::vector<BluetoothUuid> serviceClasses(const sdp_record_t& record) {
    std::vector<BluetoothUuid> uuids;
    const sdp_data_t* data = firstOfSequence(attribute(record, SDP_ATTR_SVCLASS_ID_LIST));
    for (; data != nullptr; data = data->next) {
        if (!isUuid(*data)) continue;
        if (const auto uuid = expanded(data->val.uuid)) uuids.push_back(*uuid);
    }
    return uuids;
}

std::optional<std::string> serviceName(const sdp_record_t& record) {
    const sdp_data_t* data = attribute(record, SDP_ATTR_SVCNAME_PRIMARY);
    if (data == nullptr || !SDP_IS_TEXT_STR(data->dtd) || data->val.str == nullptr) return std::nullopt;
    // Some devices count the terminating zero in.
    return std::string(data->val.str, strnlen(data->val.str, static_cast<std::size_t>(data->unitSize)));
}

bool isRfcomm(const sdp_data_t& protocol) {
    if (!isUuid(protocol)) return false;
    uuid_t uuid = protocol.val.uuid;
    return sdp_uuid_to_proto(&uuid) == RFCOMM_UUID;
}

std::optional<std::uint8_t> channelNumber(const sdp_data_t* parameter) {
    if (parameter == nullptr) return std::nullopt;
    if (parameter->dtd == SDP_UINT8) return parameter->val.uint8;
    if (parameter->dtd != SDP_UINT16) return std::nullopt;
    if (parameter->val.uint16 > std::numeric_limits<std::uint8_t>::max()) return std::nullopt;
    return static_cast<std::uint8_t>(parameter->val.uint16);
}

// A list of protocols, each a sequence of its UUID and its parameters; RFCOMM's one is the channel.
std::optional<std::uint8_t> rfcommChannel(const sdp_record_t& record) {
    const sdp_data_t* layer = firstOfSequence(attribute(record, SDP_ATTR_PROTO_DESC_LIST));
    for (; layer != nullptr; layer = layer->next) {
        const sdp_data_t* protocol = firstOfSequence(layer);
        if (protocol != nullptr && isRfcomm(*protocol)) return channelNumber(protocol->next);
    }
    return std::nullopt;
}

std::shared_ptr<BluezSdpRecord> kept(const sdp_record_t& decoded) {
    auto record = std::make_shared<BluezSdpRecord>();
    record->handle = decoded.handle;
    record->uuids = serviceClasses(decoded);
    record->name = serviceName(decoded);
    record->channelId = rfcommChannel(decoded);
    return record;
}

}  // namespace

bool BluezSdpRecord::hasServiceFromArray(std::span<const BluetoothUuid> wanted) const {
    return std::all_of(wanted.begin(), wanted.end(), [this](const BluetoothUuid& uuid) {
        return std::find(uuids.begin(), uuids.end(), uuid) != uuids.end();
    });
}

BluezSdpRecords decodeSdpRecords(std::span<const std::uint8_t> attributeLists) {
    BluezSdpRecords records;
    std::uint8_t type = 0;
    int length = 0;
    const int header =
        sdp_extract_seqtype(attributeLists.data(), static_cast<int>(attributeLists.size()), &type, &length);
    if (header <= 0 || length < 0) return records;

    auto rest = attributeLists.subspan(static_cast<std::size_t>(header));
    rest = rest.first(std::min(rest.size(), static_cast<std::size_t>(length)));
    while (!rest.empty() && records.size() < maximumRecords) {
        int used = 0;
        const DecodedRecord decoded(sdp_extract_pdu(rest.data(), static_cast<int>(rest.size()), &used));
        if (decoded == nullptr || used <= 0 || static_cast<std::size_t>(used) > rest.size()) break;
        records.push_back(kept(*decoded));
        rest = rest.subspan(static_cast<std::size_t>(used));
    }
    return records;
}

}  // namespace orvane
