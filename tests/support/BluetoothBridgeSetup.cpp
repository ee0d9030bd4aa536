#include "support/BluetoothBridgeSetup.h"

#include <algorithm>
#include <chrono>
#include <ostream>

namespace orvane::test {

bool CountedThreads::start(const std::string& name, Block body) {
    names.push_back(name);
    {
        const std::lock_guard lock(mutex_);
        ++running_;
    }
    return RealThreads::start(name, [this, body = std::move(body)]() mutable {
        body();
        body = nullptr;
        const std::lock_guard lock(mutex_);
        --running_;
        changed_.notify_all();
    });
}

bool CountedThreads::waitForRunning(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return running_ == count; });
}

Bytes frame(char type, std::string_view payload) {
    const Bytes bytes = bytesOf(payload);
    return encodeFrame(FrameType{static_cast<std::uint8_t>(type)}, bytes);
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

void BluetoothBridgeSetup::make(const std::optional<std::string>& chosen) {
    if (chosen) roles.userDefaults.setString(chosen, "btDevice");
    bridge = std::make_shared<BluetoothBridge>(bridgeRoles, server.port());
}

void BluetoothBridgeSetup::start() {
    bridge->start([this](const BtState& state) { heard.push_back(state); });
}

std::shared_ptr<TestBluetoothDevice> BluetoothBridgeSetup::addPixel(
    std::initializer_list<std::uint8_t> channelIds) {
    pixel = bluetooth.addDevice(pixelAddress, "Pixel", true);
    for (const std::uint8_t id : channelIds)
        pixel->addRecord({serviceUuid}, "Orvane", id);
    return pixel;
}

void BluetoothBridgeSetup::openPixel() {
    if (!pixel) addPixel();
    make(pixelAddress);
    start();
    pixel->completeQuery();
    channel = pixel->lastChannel();
    channel->openComplete();
    loop.runPending();
    heard.clear();
}

bool BluetoothBridgeSetup::eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        loop.runPending();
        if (condition()) return true;
        loop.waitForBlock(0.01);
    }
    return false;
}

bool BluetoothBridgeSetup::logged(std::string_view line) const {
    return std::ranges::find(roles.systemLog.lines, line) != roles.systemLog.lines.end();
}

}  // namespace orvane::test

void orvane::PrintTo(const BtState& state, std::ostream* out) {
    *out << state.menuTitle();
}
