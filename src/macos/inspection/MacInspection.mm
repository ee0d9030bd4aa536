#include "macos/inspection/MacInspection.h"

#include "macos/bluetooth/BluetoothPermission.h"
#include "macos/inspection/PortListing.h"
#include "macos/system/MacAudioHardware.h"
#include "macos/system/MacUserDefaults.h"
#include "macos/system/Text.h"
#include "posix/CommandOutput.h"
#include "posix/Presence.h"

#import <CoreAudio/CoreAudio.h>
#import <Foundation/Foundation.h>
#import <IOBluetooth/IOBluetooth.h>

#include <dispatch/dispatch.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace orvane {

namespace {

constexpr std::chrono::milliseconds toolPatience{900};
constexpr std::chrono::milliseconds daemonPatience{300};

AudioObjectPropertyAddress property(AudioObjectPropertySelector selector, AudioObjectPropertyScope scope) {
    constexpr AudioObjectPropertyElement mainElement = 0;  // Its name depends on the SDK's age.
    return {selector, scope, mainElement};
}

std::string nameOf(AudioObjectID device) {
    const auto address = property(kAudioObjectPropertyName, kAudioObjectPropertyScopeGlobal);
    CFStringRef name = nullptr;
    UInt32 size = sizeof name;
    const OSStatus status = AudioObjectGetPropertyData(device, &address, 0, nullptr, &size, &name);
    if (status != kAudioHardwareNoError || !name) return {};
    return toString((__bridge_transfer NSString*)name);
}

/// A device of no hardware, that gives out on one side what comes in on the other.
bool isVirtual(AudioObjectID device) {
    const auto address = property(kAudioDevicePropertyTransportType, kAudioObjectPropertyScopeGlobal);
    UInt32 transport = 0;
    UInt32 size = sizeof transport;
    const OSStatus status = AudioObjectGetPropertyData(device, &address, 0, nullptr, &size, &transport);
    return status == kAudioHardwareNoError && transport == kAudioDeviceTransportTypeVirtual;
}

std::uint32_t outputChannels(AudioObjectID device) {
    const auto address = property(kAudioDevicePropertyStreamConfiguration, kAudioObjectPropertyScopeOutput);
    UInt32 size = 0;
    if (AudioObjectGetPropertyDataSize(device, &address, 0, nullptr, &size) != kAudioHardwareNoError)
        return 0;
    std::vector<AudioBufferList> room(size / sizeof(AudioBufferList) + 1);  // One list, longer than its type.
    if (AudioObjectGetPropertyData(device, &address, 0, nullptr, &size, room.data()) != kAudioHardwareNoError)
        return 0;
    const AudioBufferList& list = room.front();
    const AudioBuffer* buffers = list.mBuffers;
    std::uint32_t channels = 0;
    for (UInt32 i = 0; i < list.mNumberBuffers; ++i) channels += buffers[i].mNumberChannels;
    return channels;
}

}  // namespace

ProgramPresence MacInspection::program(const std::string& path) const {
    if (!fileExists(path)) return ProgramPresence::absent;
    if (!isRegularFile(path)) return ProgramPresence::noFile;
    return isExecutableFile(path) ? ProgramPresence::executable : ProgramPresence::notExecutable;
}

std::string MacInspection::obstacleToWriting(const std::string& folder,
                                             const std::vector<std::string>& names) const {
    return orvane::obstacleToWriting(folder, names);
}

/// lsof sees the processes of its own user alone; netstat sees every socket, and whose it is not.
std::optional<PortFacts> MacInspection::port(std::uint16_t port) const {
    const auto sockets = output("/usr/sbin/netstat", {"-an", "-p", "tcp"}, toolPatience);
    if (!sockets) return std::nullopt;
    PortFacts facts;
    facts.isFree = !listsListener(*sockets, port);
    if (facts.isFree) return facts;
    const auto listed = output(
        "/usr/sbin/lsof", {"-nP", "-iTCP:" + std::to_string(port), "-sTCP:LISTEN", "-FpcL"}, toolPatience);
    if (!listed) return facts;
    const ListedHolder holder = listedHolder(*listed);
    facts.holder = holder.program;
    facts.process = holder.process;
    const passwd* self = getpwuid(geteuid());
    if (self && holder.user != self->pw_name) facts.user = holder.user;
    return facts;
}

std::optional<std::string> MacInspection::output(const std::string& path,
                                                 const std::vector<std::string>& arguments,
                                                 std::chrono::milliseconds patience) const {
    return outputOf(path, arguments, Deadline::after(patience));
}

std::optional<std::string> MacInspection::setting(const std::string& key) const {
    return MacUserDefaults().string(key);
}

bool MacInspection::adbDaemonRuns() const {
    return isListening(adbDaemonPort(), Deadline::after(daemonPatience));
}

std::optional<BluetoothFacts> MacInspection::bluetooth() const {
    __block BluetoothFacts facts;
    facts.isRefused = isBluetoothRefused();
    if (facts.isRefused) return facts;
    dispatch_sync(dispatch_get_main_queue(), ^{
      IOBluetoothHostController* controller = [IOBluetoothHostController defaultController];
      facts.busAnswers = facts.serviceRuns = true;  // Both are part of the system.
      facts.hasHardware = controller != nil;
      if (controller)
          facts.adapters.push_back({"Bluetooth", controller.powerState == kBluetoothHCIPowerStateON});
      for (id device in [IOBluetoothDevice pairedDevices]) {
          if (![device isKindOfClass:[IOBluetoothDevice class]]) continue;
          IOBluetoothDevice* phone = device;
          const std::string address = toString(phone.addressString);
          facts.paired.push_back({phone.name ? toString(phone.name) : address, address});
      }
    });
    return facts;
}

std::optional<SoundFacts> MacInspection::sound() const {
    SoundFacts facts;
    const auto devices = MacAudioHardware().devices();
    if (!devices) return facts;
    facts.server = "CoreAudio";
    for (const AudioObjectID device : *devices)
        facts.devices.push_back({nameOf(device), outputChannels(device), isVirtual(device)});
    return facts;
}

std::optional<SurfaceFacts> MacInspection::surface() const {
    return SurfaceFacts{true, "an icon in the menu bar", "every Mac has one"};
}

}  // namespace orvane
