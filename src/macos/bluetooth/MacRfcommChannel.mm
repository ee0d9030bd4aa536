#include "macos/bluetooth/MacRfcommChannel.h"

#include "macos/system/MacSystemLog.h"

#include <algorithm>
#include <limits>
#include <utility>

/// Passes on what IOBluetooth says of one channel, to whoever listens to it then.
@interface OrvaneRfcommDelegate : NSObject <IOBluetoothRFCOMMChannelDelegate>
- (void)follow:(std::weak_ptr<orvane::MacRfcommChannel>)channel;
- (void)handOn;
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
    if (channel && dataPointer)
        channel->intake().add({static_cast<const std::uint8_t*>(dataPointer), dataLength});
}

- (void)handOn {
    if (const auto channel = _channel.lock()) channel->intake().handOn();
}

- (void)rfcommChannelWriteComplete:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel
                            refcon:(void*)__unused refcon
                            status:(IOReturn)__unused error {
    if (const auto channel = _channel.lock()) channel->pieceSent();
}

- (void)rfcommChannelClosed:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel {
    if (const auto channel = _channel.lock()) channel->closedByPhone();
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
    if (isClosed_ || intake_.isClosed() || bytes.empty()) return bytes.size();
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

void MacRfcommChannel::pieceSent() {
    if (!sending_->empty()) sending_->pop_front();
    tellRoom();
}

void MacRfcommChannel::tellRoom() {
    const auto delegate = std::exchange(isBehind_, false) ? delegate_.lock() : nullptr;
    if (delegate) delegate->rfcommChannelQueueSpaceAvailable(shared_from_this());
}

void MacRfcommChannel::closedByPhone() {
    intake_.close();
    // Nothing may have been received because too much waited for the phone, which takes nothing any more.
    tellRoom();
}

PhoneIntake::Handlers MacRfcommChannel::intakeHandlers() {
    return {.received =
                [this](std::span<const std::uint8_t> bytes) {
                    const auto delegate = delegate_.lock();
                    if (delegate) delegate->rfcommChannelData(shared_from_this(), bytes);
                },
            .ended = [this](PhoneIntake::End end) { tellEnd(end); },
            .handOnLater =
                [this] {
                    OrvaneRfcommDelegate* nativeDelegate = nativeDelegate_;
                    dispatch_async(dispatch_get_main_queue(), ^{
                      [nativeDelegate handOn];
                    });
                }};
}

void MacRfcommChannel::tellEnd(PhoneIntake::End end) {
    const auto delegate = delegate_.lock();
    if (!delegate) return;
    if (end == PhoneIntake::End::tooMuch) logToSystem("Orvane: the phone sends more than is taken");
    delegate->rfcommChannelClosed(shared_from_this());
}

void MacRfcommChannel::setDelegate(const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    delegate_ = delegate;
    [channel_ setDelegate:delegate.expired() ? nil : nativeDelegate_];
}

void MacRfcommChannel::closeChannel() {
    if (!std::exchange(isClosed_, true)) [channel_ closeChannel];
}

}  // namespace orvane
