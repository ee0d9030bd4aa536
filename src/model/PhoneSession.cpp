#include "model/PhoneSession.h"

#include "model/Fields.h"
#include "model/Numbers.h"
#include "text/Canonical.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

namespace orvane {

std::optional<PhoneSession> PhoneSession::parse(std::string_view line) {
    const auto fields = splitAtTabs<14>(line);
    if (!fields) return std::nullopt;
    const auto& [prefix, slot, firstChannel, packets, bufferMs, targetMs, xruns, rttMs, netDelayMs, preset,
                 label, format, deviceId, name] = *fields;
    if (prefix != "session:") return std::nullopt;

    const auto slotValue = parseSigned(slot);
    const auto firstChannelValue = parseSigned(firstChannel);
    const auto packetsValue = parseUnsigned(packets);
    const auto bufferMsValue = parseSigned(bufferMs);
    const auto targetMsValue = parseSigned(targetMs);
    const auto xrunsValue = parseSigned(xruns);
    const auto rttMsValue = parseDouble(rttMs);
    const auto netDelayMsValue = parseDouble(netDelayMs);
    const auto deviceIdValue = parseUnsigned32(deviceId);
    if (!slotValue || !firstChannelValue || !packetsValue || !bufferMsValue || !targetMsValue ||
        !xrunsValue || !rttMsValue || !netDelayMsValue || !deviceIdValue) {
        return std::nullopt;
    }
    return PhoneSession{*slotValue,          *firstChannelValue, *packetsValue,       *bufferMsValue,
                        *targetMsValue,      *xrunsValue,        *rttMsValue,         *netDelayMsValue,
                        std::string(preset), std::string(label), std::string(format), *deviceIdValue,
                        std::string(name)};
}

bool PhoneSession::isSilent() const {
    return label == "(silent)";
}

std::string PhoneSession::channelLabel() const {
    if (firstChannel == std::numeric_limits<std::int64_t>::max()) {
        std::fputs("orvane: PhoneSession::channelLabel: the channel after firstChannel overflows\n", stderr);
        std::abort();
    }
    return std::to_string(firstChannel) + "–" + std::to_string(firstChannel + 1);
}

bool PhoneSession::operator==(const PhoneSession& other) const {
    return slot == other.slot && firstChannel == other.firstChannel && packets == other.packets &&
           bufferMs == other.bufferMs && targetMs == other.targetMs && xruns == other.xruns &&
           rttMs == other.rttMs && netDelayMs == other.netDelayMs && canonicallyEqual(preset, other.preset) &&
           canonicallyEqual(label, other.label) && canonicallyEqual(format, other.format) &&
           deviceId == other.deviceId && canonicallyEqual(name, other.name);
}

}  // namespace orvane
