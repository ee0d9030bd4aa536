#include "model/DeviceVolume.h"

#include "text/Canonical.h"

#include <algorithm>

namespace orvane::DeviceVolume {

namespace {

std::optional<float> scalar(AudioHardware& hardware, AudioHardware::DeviceId device, VolumeScope scope) {
    return hardware.hasVolume(device, scope) ? hardware.volume(device, scope) : std::nullopt;
}

}  // namespace

std::optional<AudioHardware::DeviceId> device(AudioHardware& hardware, std::string_view uid) {
    const auto ids = hardware.devices();
    if (!ids) return std::nullopt;
    const auto found = std::ranges::find_if(
        *ids, [&](auto id) { return canonicallyEqual(hardware.uid(id).value_or(""), uid); });
    return found == ids->end() ? std::nullopt : std::optional(*found);
}

std::optional<float> lowestScalar(AudioHardware& hardware, std::string_view uid) {
    const auto id = device(hardware, uid);
    if (!id) return std::nullopt;
    const auto output = scalar(hardware, *id, VolumeScope::output);
    const auto input = scalar(hardware, *id, VolumeScope::input);
    if (!input) return output;
    return output ? std::min(*output, *input) : *input;
}

bool setUnity(AudioHardware& hardware, std::string_view uid) {
    const auto id = device(hardware, uid);
    if (!id) return false;
    bool succeeded = false;
    for (const auto scope : {VolumeScope::output, VolumeScope::input}) {
        if (hardware.hasVolume(*id, scope) && hardware.setVolume(*id, scope, 1.0F)) succeeded = true;
    }
    return succeeded;
}

}  // namespace orvane::DeviceVolume
