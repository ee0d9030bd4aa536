#include "ServiceRecord.h"

#include <cerrno>
#include <vector>

namespace phone {

namespace {

constexpr std::uint8_t serviceUuid[16] = {0x4F, 0x72, 0x76, 0x61, 0x6E, 0x65, 0x00, 0x01,
                                          0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB};

uuid_t shortUuid(std::uint16_t value) {
    uuid_t uuid;
    return *sdp_uuid16_create(&uuid, value);
}

uuid_t longUuid() {
    uuid_t uuid;
    return *sdp_uuid128_create(&uuid, serviceUuid);
}

sdp_data_t* sequenceOf(const std::vector<sdp_data_t*>& elements) {
    sdp_data_t* first = nullptr;
    for (sdp_data_t* element : elements) {
        first = sdp_seq_append(first, element);
    }
    return sdp_data_alloc(SDP_SEQ8, first);
}

sdp_data_t* uuidElement(const uuid_t& uuid) {
    return uuid.type == SDP_UUID128 ? sdp_data_alloc(SDP_UUID128, &uuid.value.uuid128)
                                    : sdp_data_alloc(SDP_UUID16, &uuid.value.uuid16);
}

struct RecordDeleter {
    void operator()(sdp_record_t* record) const { sdp_record_free(record); }
};
using Record = std::unique_ptr<sdp_record_t, RecordDeleter>;

Record describe(const ServiceRecord::Contents& contents) {
    Record record(sdp_record_alloc());
    const uuid_t serviceClass = contents.withUuid ? longUuid() : shortUuid(SERIAL_PORT_SVCLASS_ID);
    const auto channel = static_cast<std::uint8_t>(contents.channel);

    sdp_attr_add(record.get(), SDP_ATTR_SVCLASS_ID_LIST, sequenceOf({uuidElement(serviceClass)}));
    sdp_attr_add(
        record.get(), SDP_ATTR_PROTO_DESC_LIST,
        sequenceOf({sequenceOf({uuidElement(shortUuid(L2CAP_UUID))}),
                    sequenceOf({uuidElement(shortUuid(RFCOMM_UUID)), sdp_data_alloc(SDP_UINT8, &channel)})}));
    if (contents.browsable) {
        sdp_attr_add(record.get(), SDP_ATTR_BROWSE_GRP_LIST,
                     sequenceOf({uuidElement(shortUuid(PUBLIC_BROWSE_GROUP))}));
    }
    sdp_set_info_attr(record.get(), contents.name.c_str(), nullptr, nullptr);
    return record;
}

}  // namespace

std::optional<ServiceRecord> ServiceRecord::publish(const std::string& adapter, const Contents& contents) {
    const bdaddr_t any{};
    const bdaddr_t local{{0, 0, 0, 0xff, 0xff, 0xff}};
    ServiceRecord published;
    published.session_.reset(sdp_connect(&any, &local, SDP_RETRY_IF_BUSY));
    if (published.session_ == nullptr) return std::nullopt;

    bdaddr_t owner{};
    if (!adapter.empty()) str2ba(adapter.c_str(), &owner);
    const Record record = describe(contents);
    if (sdp_device_record_register(published.session_.get(), &owner, record.get(), 0) != 0)
        return std::nullopt;
    return published;
}

}  // namespace phone
