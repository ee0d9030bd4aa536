#include "model/LoopbackDevice.h"

#include "model/Fields.h"
#include "model/Numbers.h"

namespace orvane {

std::optional<LoopbackDevice> LoopbackDevice::parse(std::string_view line) {
    const auto fields = splitAtTabs<6>(line);
    if (!fields) return std::nullopt;
    const auto& [prefix, active, outChannels, firstChannel, uid, name] = *fields;
    if (prefix != "device:") return std::nullopt;

    const auto outChannelsValue = parseSigned(outChannels);
    const auto firstChannelValue = parseSigned(firstChannel);
    if (!outChannelsValue || !firstChannelValue) return std::nullopt;
    return LoopbackDevice{.uid = uid,
                          .name = name,
                          .outChannels = *outChannelsValue,
                          .isActive = active == "1",
                          .firstChannel = *firstChannelValue};
}

std::int64_t LoopbackDevice::stereoPairs() const {
    return outChannels < 4 ? 1 : outChannels / 2;
}

}  // namespace orvane
