#include "ScriptedPhones.h"

#include "bluetooth/BridgeFrame.h"

namespace orvane::test {

namespace {

constexpr std::uint8_t channelOfService = 7;

}  // namespace

void ScriptedPhone::performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) {
    TestBluetoothDevice::performSdpQuery(target);
    runLoop_.async([self = shared_from_this()] { self->completeQuery(); });
}

BluetoothStatus ScriptedPhone::openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel,
                                                      std::uint8_t channelId,
                                                      const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    const BluetoothStatus status = TestBluetoothDevice::openRfcommChannelAsync(channel, channelId, delegate);
    runLoop_.async([opening = lastChannel()] { opening->openComplete(); });
    return status;
}

bool ScriptedPhone::attach() {
    const auto channel = openChannel();
    if (channel) channel->receive(encodeFrame(FrameType::attach, {}));
    return channel != nullptr;
}

bool ScriptedPhone::hangUp() {
    const auto channel = openChannel();
    if (channel) channel->closedByPhone();
    return channel != nullptr;
}

std::shared_ptr<TestRfcommChannel> ScriptedPhone::openChannel() const {
    const auto last = lastChannel();
    return last && last->closeCount == 0 && !last->delegate.expired() ? last : nullptr;
}

void ScriptedPhones::pair(const std::string& address, const std::string& name) {
    phone_ = std::make_shared<ScriptedPhone>(runLoop_);
    phone_->addressValue = address;
    phone_->nameValue = name;
    phone_->connected = true;
    phone_->addRecord({}, "Orvane", channelOfService);
    paired = {phone_};
    byAddress = {{address, phone_}};
}

}  // namespace orvane::test
