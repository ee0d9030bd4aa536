// Audio devices with volumes that a test sets.
#pragma once

#include "platform/AudioHardware.h"

#include <set>
#include <string>
#include <vector>

namespace orvane::test {

struct FakeAudioDevice {
    std::optional<std::string> uid;
    std::optional<float> output;  ///< No value: no control on that side.
    std::optional<float> input;
    std::set<VolumeScope> unreadable = {};
    std::set<VolumeScope> fixed = {};  ///< Cannot be set.
};

class FakeAudioHardware : public AudioHardware {
  public:
    std::optional<std::vector<DeviceId>> devices() override {
        ++listings;
        if (!listable) return std::nullopt;
        std::vector<DeviceId> ids;
        for (std::size_t index = 0; index < all.size(); ++index)
            ids.push_back(idOf(index));
        return ids;
    }
    std::optional<std::string> uid(DeviceId device) override { return of(device).uid; }
    bool hasVolume(DeviceId device, VolumeScope scope) override { return side(device, scope).has_value(); }
    std::optional<float> volume(DeviceId device, VolumeScope scope) override {
        return of(device).unreadable.contains(scope) ? std::nullopt : side(device, scope);
    }
    bool setVolume(DeviceId device, VolumeScope scope, float scalar) override {
        if (of(device).fixed.contains(scope)) return false;
        side(device, scope) = scalar;
        return true;
    }

    void setRecoveryHandler(const Block& handler) override { recovered = handler; }

    static DeviceId idOf(std::size_t index) { return static_cast<DeviceId>(100 + index); }

    std::vector<FakeAudioDevice> all;
    bool listable = true;
    std::size_t listings = 0;  ///< How often they were asked for.
    Block recovered;

  private:
    FakeAudioDevice& of(DeviceId device) { return all.at(device - 100); }
    std::optional<float>& side(DeviceId device, VolumeScope scope) {
        return scope == VolumeScope::output ? of(device).output : of(device).input;
    }
};

}  // namespace orvane::test
