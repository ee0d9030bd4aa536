// Audio devices and their volumes through CoreAudio's hardware layer.
#pragma once

#include "platform/AudioHardware.h"

namespace orvane {

class MacAudioHardware : public AudioHardware {
  public:
    std::optional<std::vector<DeviceId>> devices() override;
    std::optional<std::string> uid(DeviceId device) override;
    bool hasVolume(DeviceId device, VolumeScope scope) override;
    std::optional<float> volume(DeviceId device, VolumeScope scope) override;
    bool setVolume(DeviceId device, VolumeScope scope, float scalar) override;
};

}  // namespace orvane
