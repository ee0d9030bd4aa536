// The bridge's side of the frames: what each one from the phone does, and how ours are written.
#include "bluetooth/BluetoothBridge.h"
#include "bluetooth/LocalRelay.h"

#include <algorithm>

namespace orvane {

void BluetoothBridge::rfcommChannelData(const std::shared_ptr<RfcommChannel>&,
                                        std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) return;
    inbox_.append(bytes);
    drainInbox();
}

void BluetoothBridge::drainInbox() {
    while (true) {
        const auto next = inbox_.next();
        if (const auto* lack = std::get_if<FrameReader::Lack>(&next)) {
            if (*lack == FrameReader::Lack::needMore) return;
            setState(BtState::failed("bad frame from the phone"));
            teardown();
            return;
        }
        if (!act(std::get<BridgeFrame>(next))) {
            setState(BtState::failed("unexpected data from the phone"));
            teardown();
            return;
        }
    }
}

/// False for a frame of unknown type.
bool BluetoothBridge::act(const BridgeFrame& frame) {
    switch (frame.type) {
        case FrameType::hello:
            log("bridge v" + std::to_string(frame.payload.empty() ? 0 : frame.payload[0]));
            return true;
        case FrameType::linkTestStart:
            send(FrameType::linkTestAcknowledgement, {});
            probeBytes_ = 0;
            log("link test started");
            setState(BtState::testing(deviceName()));
            return true;
        case FrameType::probe:
            probeBytes_ += static_cast<std::uint32_t>(frame.payload.size());
            return true;
        case FrameType::linkTestEnd: {
            std::vector<std::uint8_t> result;
            appendBigEndian(result, probeBytes_);
            send(FrameType::linkTestResult, result);
            log("link test received " + std::to_string(probeBytes_) + " bytes");
            return true;
        }
        case FrameType::attach:
            attach();
            return true;
        case FrameType::detach:
            detach();
            return true;
        case FrameType::data:
            if (localFd_ >= 0) writeToServer(localFd_, frame.payload);
            return true;
        default:
            return false;
    }
}

void BluetoothBridge::attach() {
    if (connectLocal()) {
        log("engine attached, bridged into orvaned");
        setState(BtState::live(deviceName()));
    } else {
        log("orvaned is not accepting connections");
        setState(BtState::failed("the receiver is not accepting connections"));
    }
}

void BluetoothBridge::detach() {
    log("engine detached");
    closeLocal();
    setState(BtState::searching(deviceName()));
}

void BluetoothBridge::send(FrameType type, std::span<const std::uint8_t> payload) {
    const auto channel = channel_;
    if (!channel) return;
    const auto frame = encodeFrame(type, payload);
    const std::size_t mtu = std::max<std::size_t>(channel->mtu(), 1);
    for (auto rest = std::span<const std::uint8_t>(frame); !rest.empty();) {
        const std::size_t size = std::min(mtu, rest.size());
        channel->writeSync(rest.first(size));
        rest = rest.subspan(size);
    }
}

}  // namespace orvane
