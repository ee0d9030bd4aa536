// What a device may answer to a service query: any packets, any records. Neither may harm, and what is
// decoded stays within its bounds, and is the same when it is decoded again.
#include "linux/bluez/BluezSdpExchange.h"
#include "linux/bluez/BluezSdpRecord.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace orvane;
using View = std::span<const std::uint8_t>;

constexpr std::uint16_t anyUuid = 0x0100;
constexpr std::size_t maxRecords = 256;

void require(bool condition) {
    if (!condition) std::abort();
}

bool same(const BluezSdpRecord& one, const BluezSdpRecord& other) {
    return one.handle == other.handle && one.uuids == other.uuids && one.name == other.name &&
           one.channelId == other.channelId;
}

void decode(View lists) {
    const auto records = decodeSdpRecords(lists);
    require(records.size() <= maxRecords);
    const auto again = decodeSdpRecords(lists);
    require(std::ranges::equal(records, again, [](const auto& a, const auto& b) { return same(*a, *b); }));

    BluezSdpRecords all;
    addMissingSdpRecords(all, records);
    require(all.size() == records.size());
    addMissingSdpRecords(all, again);
    require(all.size() <= 2 * records.size());
}

/// The input as packets: two bytes of length before each.
void converse(View packets) {
    BluezSdpExchange exchange(anyUuid);
    while (packets.size() >= 2) {
        const std::size_t size = std::min<std::size_t>(packets[0] * 256U + packets[1], packets.size() - 2);
        const auto progress = exchange.add(packets.subspan(2, size));
        packets = packets.subspan(2 + size);
        require(exchange.attributeLists().size() <= BluezSdpExchange::maxAnswer);
        require(exchange.request().size() <= 36);
        if (progress != BluezSdpExchange::Progress::needsRequest) break;
    }
    decode(exchange.attributeLists());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    decode({data, size});
    converse({data, size});
    return 0;
}
