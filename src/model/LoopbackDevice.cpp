#include "model/LoopbackDevice.h"

#include "model/Fields.h"
#include "model/Numbers.h"
#include "text/Canonical.h"

namespace orvane {

std::optional<LoopbackDevice> LoopbackDevice::parse(std::string_view line) {
    const auto fields = splitAtTabs<6>(line);
    if (!fields) return std::nullopt;
    const auto& [prefix, active, outChannels, firstChannel, uid, name] = *fields;
    if (prefix != "device:") return std::nullopt;

    const auto outChannelsValue = parseSigned(outChannels);
    const auto firstChannelValue = parseSigned(firstChannel);
    if (!outChannelsValue || !firstChannelValue) return std::nullopt;
    return LoopbackDevice{std::string(uid), std::string(name), *outChannelsValue, active == "1",
                          *firstChannelValue};
}

std::int64_t LoopbackDevice::stereoPairs() const {
    return outChannels < 4 ? 1 : outChannels / 2;
}

bool LoopbackDevice::operator==(const LoopbackDevice& other) const {
    return canonicallyEqual(uid, other.uid) && canonicallyEqual(name, other.name) &&
           outChannels == other.outChannels && isActive == other.isActive &&
           firstChannel == other.firstChannel;
}

}  // namespace orvane
