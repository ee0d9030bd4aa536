#include "model/PhoneSession.h"

#include "model/Fields.h"
#include "model/Numbers.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace orvane {

std::optional<PhoneSession> PhoneSession::parse(std::string_view line) {
    const auto fields = splitAtTabs<14>(line);
    if (!fields) return std::nullopt;
    const auto& [prefix, slot, firstChannel, packets, bufferMs, targetMs, xruns, rttMs, netDelayMs, preset,
                 label, format, deviceId, name] = *fields;
    if (prefix != "session:") return std::nullopt;

    bool areNumbers = true;
    const auto take = [&](const auto& number) {
        areNumbers = areNumbers && number;
        return number.value_or(0);
    };
    PhoneSession phone{.slot = take(parseSigned(slot)),
                       .firstChannel = take(parseSigned(firstChannel)),
                       .packets = take(parseUnsigned(packets)),
                       .bufferMs = take(parseSigned(bufferMs)),
                       .targetMs = take(parseSigned(targetMs)),
                       .xruns = take(parseSigned(xruns)),
                       .rttMs = take(parseDouble(rttMs)),
                       .netDelayMs = take(parseDouble(netDelayMs)),
                       .preset = preset,
                       .label = label,
                       .format = format,
                       .deviceId = take(parseUnsigned32(deviceId)),
                       .name = name};
    return areNumbers ? std::optional(std::move(phone)) : std::nullopt;
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

}  // namespace orvane
