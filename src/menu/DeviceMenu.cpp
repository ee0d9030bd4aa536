#include "menu/DeviceMenu.h"

#include "text/Format.h"

#include <algorithm>

namespace orvane {

std::string deviceSignature(std::span<const LoopbackDevice> devices) {
    std::string signature;
    for (const auto& device : devices) {
        if (&device != devices.data()) signature += '|';
        signature += device.uid;
        signature += device.isActive ? ":true:" : ":false:";
        signature += std::to_string(device.outChannels);
    }
    return signature;
}

const LoopbackDevice* activeDevice(std::span<const LoopbackDevice> devices) {
    const auto found = std::ranges::find_if(devices, &LoopbackDevice::isActive);
    return found == devices.end() ? nullptr : &*found;
}

const LoopbackDevice& shownDevice(std::span<const LoopbackDevice> devices) {
    const auto* active = activeDevice(devices);
    return active ? *active : devices.front();
}

std::string deviceTitle(const LoopbackDevice& device) {
    std::string title = "Audio device: " + device.name;
    const auto pairs = device.stereoPairs();
    if (pairs >= 2) title += "  ·  " + std::to_string(pairs) + " phone slots";
    return title;
}

std::shared_ptr<Menu> makeDeviceMenu(std::span<const LoopbackDevice> devices, MenuTarget* target) {
    auto menu = std::make_shared<Menu>();
    menu->setTarget(target);
    for (const auto& device : devices) {
        const auto row = menu->add(device.name, MenuAction::pickDevice);
        row->setChecked(device.isActive);
        row->setRepresentedObject(DeviceChoice{device.uid, 0});
    }
    menu->addSeparator();
    menu->add("Install BlackHole…", MenuAction::installBlackHole);
    return menu;
}

std::string volumeWarningTitle(const std::string& name, float volume) {
    return "⚠ " + name + " volume is " + fixedDecimal(volume * 100.0F, 0) + "% — click to set 100%";
}

}  // namespace orvane
