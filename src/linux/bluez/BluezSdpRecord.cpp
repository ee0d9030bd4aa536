#include "linux/bluez/BluezSdpRecord.h"

#include "text/BigEndian.h"

#include <algorithm>
#include <limits>

#include <bluetooth/bluetooth.h>
#include <bluetooth/sdp.h>

namespace orvane {

namespace {

constexpr std::size_t maxRecords = 256;

using Bytes = std::span<const std::uint8_t>;

enum class ElementType : std::uint8_t {
    nil,
    number,
    integer,
    uuid,
    text,
    boolean,
    sequence,
    alternative,
    url
};

struct Element {
    ElementType type;
    Bytes content;
};

/// Takes `count` bytes off the front, or nothing when there are fewer.
std::optional<Bytes> takeBytes(Bytes& rest, std::uint64_t count) {
    if (count > rest.size()) return std::nullopt;
    const Bytes taken = rest.first(static_cast<std::size_t>(count));
    rest = rest.subspan(static_cast<std::size_t>(count));
    return taken;
}

/// Takes the next element off the front, or nothing when it is not there as a whole. Its first byte has the
/// type (5 bits) and how long the content is: 2^n bytes, or as the next 1, 2 or 4 bytes say.
std::optional<Element> takeElement(Bytes& rest) {
    const auto descriptor = takeBytes(rest, 1);
    if (!descriptor) return std::nullopt;
    const auto type = static_cast<ElementType>(descriptor->front() >> 3);
    const unsigned size = descriptor->front() & 7;

    std::optional<Bytes> content;
    if (type == ElementType::nil) {
        content = Bytes();
    } else if (size < 5) {
        content = takeBytes(rest, std::uint64_t{1} << size);
    } else if (const auto length = takeBytes(rest, std::uint64_t{1} << (size - 5))) {
        content = takeBytes(rest, bigEndian(*length));
    }
    if (!content) return std::nullopt;
    return Element{type, *content};
}

/// The same, of one type only.
std::optional<Bytes> take(ElementType type, Bytes& rest) {
    const auto element = takeElement(rest);
    if (!element || element->type != type) return std::nullopt;
    return element->content;
}

std::optional<BluetoothUuid> expanded(Bytes uuid) {
    BluetoothUuid whole{0, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0x80, 0x5F, 0x9B, 0x34, 0xFB};
    switch (uuid.size()) {
        case 2:
            std::copy(uuid.begin(), uuid.end(), whole.begin() + 2);
            return whole;
        case 4:
        case 16:
            std::copy(uuid.begin(), uuid.end(), whole.begin());
            return whole;
        default:
            return std::nullopt;
    }
}

std::vector<BluetoothUuid> serviceClasses(Bytes classes) {
    std::vector<BluetoothUuid> uuids;
    while (const auto element = takeElement(classes)) {
        const auto uuid = element->type == ElementType::uuid ? expanded(element->content) : std::nullopt;
        if (uuid) uuids.push_back(*uuid);
    }
    return uuids;
}

/// A list of protocols, each a sequence of its UUID and its parameters; that of RFCOMM is the channel.
std::optional<std::uint8_t> rfcommChannel(Bytes protocols) {
    constexpr std::uint8_t rfcomm[] = {0, RFCOMM_UUID};
    while (auto protocol = take(ElementType::sequence, protocols)) {
        const auto uuid = take(ElementType::uuid, *protocol);
        if (!uuid || expanded(*uuid) != expanded(rfcomm)) continue;
        const auto channel = take(ElementType::number, *protocol);
        // The length of a number may be written out, and may then be zero.
        const bool isNumber = channel && !channel->empty();
        const std::uint64_t value = isNumber ? bigEndian(*channel) : 0;
        const bool fits = isNumber && value <= std::numeric_limits<std::uint8_t>::max();
        return fits ? std::optional(static_cast<std::uint8_t>(value)) : std::nullopt;
    }
    return std::nullopt;
}

/// Some devices count the terminating zero in.
std::string textOf(Bytes characters) {
    return {characters.begin(), std::find(characters.begin(), characters.end(), 0)};
}

std::shared_ptr<BluezSdpRecord> decodeRecord(Bytes attributes) {
    auto record = std::make_shared<BluezSdpRecord>();
    for (;;) {
        const auto id = take(ElementType::number, attributes);
        const auto value = id ? takeElement(attributes) : std::nullopt;
        if (!value) return record;
        const auto [type, content] = *value;
        switch (bigEndian(*id)) {
            case SDP_ATTR_RECORD_HANDLE:
                if (type == ElementType::number && !content.empty())
                    record->handle = static_cast<std::uint32_t>(bigEndian(content));
                break;
            case SDP_ATTR_SVCLASS_ID_LIST:
                if (type == ElementType::sequence) record->uuids = serviceClasses(content);
                break;
            case SDP_ATTR_PROTO_DESC_LIST:
                if (type == ElementType::sequence) record->channelId = rfcommChannel(content);
                break;
            case SDP_ATTR_SVCNAME_PRIMARY:
                if (type == ElementType::text) record->name = textOf(content);
                break;
            default:
                break;
        }
    }
}

}  // namespace

bool BluezSdpRecord::hasServiceFromArray(std::span<const BluetoothUuid> wanted) const {
    return std::all_of(wanted.begin(), wanted.end(), [this](const BluetoothUuid& uuid) {
        return std::find(uuids.begin(), uuids.end(), uuid) != uuids.end();
    });
}

BluezSdpRecords decodeSdpRecords(std::span<const std::uint8_t> attributeLists) {
    BluezSdpRecords records;
    auto lists = take(ElementType::sequence, attributeLists);
    while (lists && records.size() < maxRecords) {
        const auto attributes = take(ElementType::sequence, *lists);
        if (!attributes) break;
        records.push_back(decodeRecord(*attributes));
    }
    return records;
}

void addMissingSdpRecords(BluezSdpRecords& records, const BluezSdpRecords& more) {
    BluezSdpRecords missing;
    for (const auto& record : more) {
        const bool known =
            record->handle && std::any_of(records.begin(), records.end(),
                                          [&](const auto& other) { return other->handle == record->handle; });
        if (!known) missing.push_back(record);
    }
    records.insert(records.end(), missing.begin(), missing.end());
}

}  // namespace orvane
