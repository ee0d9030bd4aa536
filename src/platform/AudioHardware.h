// The audio devices of the computer and their volume controls. Main thread only; every call returns within a
// fraction of a second.
#pragma once

#include "platform/RunLoop.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

enum class VolumeScope { output, input };

class AudioHardware {
  public:
    using DeviceId = std::uint32_t;

    virtual ~AudioHardware() = default;
    /// All devices, in the system's order; nothing when they cannot be listed. The ids serve the other calls
    /// until the next listing.
    virtual std::optional<std::vector<DeviceId>> devices() = 0;
    /// The device's lasting identifier; nothing when it cannot be read.
    virtual std::optional<std::string> uid(DeviceId device) = 0;
    /// True when the device has a main volume control on that side.
    virtual bool hasVolume(DeviceId device, VolumeScope scope) = 0;
    /// The main volume as a scalar from 0 to 1; nothing when it cannot be read.
    virtual std::optional<float> volume(DeviceId device, VolumeScope scope) = 0;
    /// True when the system took the new volume.
    virtual bool setVolume(DeviceId device, VolumeScope scope, float scalar) = 0;
    /// The block hears, on the main thread, that a system which did not answer in time answers again, or has
    /// gone: what was given up is worth another question. One that always answers never calls it.
    virtual void setRecoveryHandler(const Block&) {}
};

}  // namespace orvane
