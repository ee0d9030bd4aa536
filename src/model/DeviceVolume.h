// The main volume of an audio device, found by its lasting identifier. Main thread only; every call is
// synchronous and short.
#pragma once

#include "platform/AudioHardware.h"

#include <optional>
#include <string_view>

namespace orvane::DeviceVolume {

/// The first device with this UID; a device whose UID cannot be read counts as having an empty one.
std::optional<AudioHardware::DeviceId> device(AudioHardware& hardware, std::string_view uid);

/// The lower of the output and the input volume, from 0 to 1; nothing when the device is gone or has neither
/// control.
std::optional<float> lowestScalar(AudioHardware& hardware, std::string_view uid);

/// Sets both sides to full, as far as they have a control. True when at least one could be set.
bool setUnity(AudioHardware& hardware, std::string_view uid);

}  // namespace orvane::DeviceVolume
