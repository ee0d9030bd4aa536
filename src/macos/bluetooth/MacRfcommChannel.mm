#include "macos/bluetooth/MacRfcommChannel.h"

#include <algorithm>
#include <limits>
#include <utility>

/// Passes on what IOBluetooth says of one channel, to whoever listens to it then.
@interface OrvaneRfcommDelegate : NSObject <IOBluetoothRFCOMMChannelDelegate>
- (void)follow:(std::weak_ptr<orvane::MacRfcommChannel>)channel;
- (void)deliverKept;
@end

@implementation OrvaneRfcommDelegate {
    std::weak_ptr<orvane::MacRfcommChannel> _channel;
}

- (void)follow:(std::weak_ptr<orvane::MacRfcommChannel>)channel {
    _channel = std::move(channel);
}

- (void)rfcommChannelOpenComplete:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel status:(IOReturn)error {
    const auto channel = _channel.lock();
    const auto delegate = channel ? channel->delegate() : nullptr;
    if (delegate) delegate->rfcommChannelOpenComplete(channel, error);
}

- (void)rfcommChannelData:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel
                     data:(void*)dataPointer
                   length:(size_t)dataLength {
    const auto channel = _channel.lock();
    const auto delegate = channel ? channel->delegate() : nullptr;
    if (!delegate || !dataPointer) return;
    const std::span<const std::uint8_t> bytes(static_cast<const std::uint8_t*>(dataPointer), dataLength);
    if (channel->mayReceive(bytes)) delegate->rfcommChannelData(channel, bytes);
}

- (void)deliverKept {
    const auto channel = _channel.lock();
    const auto delegate = channel ? channel->delegate() : nullptr;
    if (!delegate) return;
    const auto kept = channel->takeKept();
    if (!kept.empty()) delegate->rfcommChannelData(channel, kept);
}

- (void)rfcommChannelWriteComplete:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel
                            refcon:(void*)__unused refcon
                            status:(IOReturn)__unused error {
    const auto channel = _channel.lock();
    const bool hasRoom = channel && channel->hasSent();
    const auto delegate = hasRoom ? channel->delegate() : nullptr;
    if (delegate) delegate->rfcommChannelQueueSpaceAvailable(channel);
}

- (void)rfcommChannelClosed:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel {
    const auto channel = _channel.lock();
    const auto delegate = channel ? channel->delegate() : nullptr;
    if (delegate) delegate->rfcommChannelClosed(channel);
}

@end

namespace orvane {

static_assert(bluetoothSuccess == kIOReturnSuccess);

BluetoothStatus MacRfcommChannel::open(std::shared_ptr<RfcommChannel>& channel, IOBluetoothDevice* device,
                                       BluetoothRFCOMMChannelID channelId,
                                       const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    OrvaneRfcommDelegate* nativeDelegate = [[OrvaneRfcommDelegate alloc] init];
    IOBluetoothRFCOMMChannel* native = nil;
    const IOReturn status = [device openRFCOMMChannelAsync:&native
                                             withChannelID:channelId
                                                  delegate:nativeDelegate];
    if (status != kIOReturnSuccess) return status;
    if (!native) return kIOReturnError;
    const auto opening = std::make_shared<MacRfcommChannel>(native, nativeDelegate, delegate);
    [nativeDelegate follow:opening];
    channel = opening;
    return bluetoothSuccess;
}

MacRfcommChannel::MacRfcommChannel(IOBluetoothRFCOMMChannel* channel, OrvaneRfcommDelegate* nativeDelegate,
                                   std::weak_ptr<RfcommChannelDelegate> delegate)
    : channel_(channel), nativeDelegate_(nativeDelegate), delegate_(std::move(delegate)) {}

MacRfcommChannel::~MacRfcommChannel() {
    [channel_ setDelegate:nil];
    closeChannel();
    // Either may be in the middle of the very call that led here: they stay for the rest of this turn.
    IOBluetoothRFCOMMChannel* channel = channel_;
    OrvaneRfcommDelegate* nativeDelegate = nativeDelegate_;
    dispatch_async(dispatch_get_main_queue(), ^{
      (void)channel;
      (void)nativeDelegate;
    });
    // What is still being sent is read from where it lies.
    const auto sending = sending_;
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 10 * NSEC_PER_SEC), dispatch_get_main_queue(), ^{
      (void)sending;
    });
}

std::size_t MacRfcommChannel::mtu() const { return std::max<std::size_t>([channel_ getMTU], 1); }

std::size_t MacRfcommChannel::write(std::span<const std::uint8_t> bytes) {
    if (isClosed_ || bytes.empty()) return bytes.size();
    if (sending_->size() >= maxSending) {
        isBehind_ = true;
        return 0;
    }
    const auto length = std::min<std::size_t>(bytes.size(), std::numeric_limits<UInt16>::max());
    auto& piece = sending_->emplace_back(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    const IOReturn status = [channel_ writeAsync:piece.data()
                                          length:static_cast<UInt16>(length)
                                          refcon:nullptr];
    if (status == kIOReturnSuccess) return length;
    sending_->pop_back();
    // Busy with what it has, or dead: a dead channel takes, and drops, everything.
    isBehind_ = !sending_->empty();
    return isBehind_ ? 0 : length;
}

bool MacRfcommChannel::hasSent() {
    if (!sending_->empty()) sending_->pop_front();
    return std::exchange(isBehind_, false);
}

void MacRfcommChannel::setReceiving(bool receiving) {
    isReceiving_ = receiving;
    if (!receiving || kept_.empty()) return;
    OrvaneRfcommDelegate* nativeDelegate = nativeDelegate_;
    dispatch_async(dispatch_get_main_queue(), ^{
      [nativeDelegate deliverKept];
    });
}

bool MacRfcommChannel::mayReceive(std::span<const std::uint8_t> bytes) {
    if (isReceiving_ && kept_.empty()) return true;
    kept_.insert(kept_.end(), bytes.begin(), bytes.end());
    return false;
}

std::vector<std::uint8_t> MacRfcommChannel::takeKept() {
    return isReceiving_ ? std::exchange(kept_, {}) : std::vector<std::uint8_t>();
}

void MacRfcommChannel::setDelegate(const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    delegate_ = delegate;
    [channel_ setDelegate:delegate.expired() ? nil : nativeDelegate_];
}

void MacRfcommChannel::closeChannel() {
    if (!std::exchange(isClosed_, true)) [channel_ closeChannel];
}

}  // namespace orvane
