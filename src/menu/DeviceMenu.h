// What the audio device row, its submenu and the volume warning say. Pure: records in, texts and rows out.
#pragma once

#include "model/LoopbackDevice.h"
#include "platform/Menu.h"

#include <memory>
#include <span>
#include <string>

namespace orvane {

/// What of the devices shows in the menu.
std::string deviceSignature(std::span<const LoopbackDevice> devices);

/// The first active device, or null.
const LoopbackDevice* activeDevice(std::span<const LoopbackDevice> devices);

/// The device that the row names: the first active one, or the first. There is at least one.
const LoopbackDevice& shownDevice(std::span<const LoopbackDevice> devices);

/// "Audio device: BlackHole 16ch  ·  8 phone slots".
std::string deviceTitle(const LoopbackDevice& device);

/// The devices to choose from, and the way to a driver. `target` carries out the rows; it is not owned.
std::shared_ptr<Menu> makeDeviceMenu(std::span<const LoopbackDevice> devices, MenuTarget* target);

/// Below this the volume counts as turned down.
constexpr float fullVolume = 0.99F;

/// "⚠ BlackHole 16ch volume is 50% — click to set 100%". `volume` is a scalar from 0 to 1.
std::string volumeWarningTitle(const std::string& name, float volume);

}  // namespace orvane
