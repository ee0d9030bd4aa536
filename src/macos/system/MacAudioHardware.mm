#include "macos/system/MacAudioHardware.h"

#include "macos/system/Text.h"

#import <CoreAudio/CoreAudio.h>

namespace orvane {

static_assert(sizeof(AudioHardware::DeviceId) == sizeof(AudioObjectID));

namespace {

constexpr AudioObjectPropertyElement mainElement = 0;  // Its name depends on the SDK's age.

AudioObjectPropertyAddress globalProperty(AudioObjectPropertySelector selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, mainElement};
}

AudioObjectPropertyAddress volumeProperty(VolumeScope scope) {
    return {kAudioDevicePropertyVolumeScalar,
            scope == VolumeScope::output ? AudioObjectPropertyScope{kAudioObjectPropertyScopeOutput}
                                         : AudioObjectPropertyScope{kAudioObjectPropertyScopeInput},
            mainElement};
}

}  // namespace

std::optional<std::vector<AudioHardware::DeviceId>> MacAudioHardware::devices() {
    const AudioObjectPropertyAddress property = globalProperty(kAudioHardwarePropertyDevices);
    UInt32 size = 0;
    if (AudioObjectGetPropertyDataSize(kAudioObjectSystemObject, &property, 0, nullptr, &size) !=
        kAudioHardwareNoError)
        return std::nullopt;
    std::vector<DeviceId> ids(size / sizeof(DeviceId));
    size = static_cast<UInt32>(ids.size() * sizeof(DeviceId));
    if (AudioObjectGetPropertyData(kAudioObjectSystemObject, &property, 0, nullptr, &size, ids.data()) !=
        kAudioHardwareNoError)
        return std::nullopt;
    ids.resize(size / sizeof(DeviceId));  // Devices may have gone in between.
    return ids;
}

std::optional<std::string> MacAudioHardware::uid(DeviceId device) {
    const AudioObjectPropertyAddress property = globalProperty(kAudioDevicePropertyDeviceUID);
    CFStringRef uid = nullptr;
    UInt32 size = sizeof uid;
    const OSStatus status = AudioObjectGetPropertyData(device, &property, 0, nullptr, &size, &uid);
    if (status != kAudioHardwareNoError || !uid) return std::nullopt;
    return toString((__bridge_transfer NSString*)uid);
}

bool MacAudioHardware::hasVolume(DeviceId device, VolumeScope scope) {
    const AudioObjectPropertyAddress property = volumeProperty(scope);
    return AudioObjectHasProperty(device, &property);
}

std::optional<float> MacAudioHardware::volume(DeviceId device, VolumeScope scope) {
    const AudioObjectPropertyAddress property = volumeProperty(scope);
    Float32 scalar = 0;
    UInt32 size = sizeof scalar;
    const OSStatus status = AudioObjectGetPropertyData(device, &property, 0, nullptr, &size, &scalar);
    return status == kAudioHardwareNoError ? std::optional(scalar) : std::nullopt;
}

bool MacAudioHardware::setVolume(DeviceId device, VolumeScope scope, float scalar) {
    const AudioObjectPropertyAddress property = volumeProperty(scope);
    const Float32 value = scalar;
    return AudioObjectSetPropertyData(device, &property, 0, nullptr, sizeof value, &value) ==
           kAudioHardwareNoError;
}

}  // namespace orvane
