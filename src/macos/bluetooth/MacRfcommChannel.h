// One RFCOMM channel of IOBluetooth.
#pragma once

#include "macos/bluetooth/PhoneIntake.h"
#include "platform/Bluetooth.h"

#import <IOBluetooth/IOBluetooth.h>

#include <deque>
#include <memory>
#include <vector>

@class OrvaneRfcommDelegate;

namespace orvane {

/// IOBluetooth holds its delegate neither strongly nor safely: this holds it, and takes it away from the
/// channel before letting go of either. The delegate in turn knows this only weakly.
class MacRfcommChannel : public RfcommChannel, public std::enable_shared_from_this<MacRfcommChannel> {
   public:
    static BluetoothStatus open(std::shared_ptr<RfcommChannel>& channel, IOBluetoothDevice* device,
                                BluetoothRFCOMMChannelID channelId,
                                const std::weak_ptr<RfcommChannelDelegate>& delegate);

    MacRfcommChannel(IOBluetoothRFCOMMChannel* channel, OrvaneRfcommDelegate* nativeDelegate,
                     std::weak_ptr<RfcommChannelDelegate> delegate);
    ~MacRfcommChannel() override;

    std::size_t mtu() const override;
    std::size_t write(std::span<const std::uint8_t> bytes) override;
    void setReceiving(bool receiving) override { intake_.setReceiving(receiving); }
    void setDelegate(const std::weak_ptr<RfcommChannelDelegate>& delegate) override;
    void closeChannel() override;

    std::shared_ptr<RfcommChannelDelegate> delegate() const { return delegate_.lock(); }
    /// Takes what comes from the phone.
    PhoneIntake& intake() { return intake_; }
    void closedByPhone();
    /// One piece has gone out.
    void pieceSent();

   private:
    using Pieces = std::deque<std::vector<std::uint8_t>>;
    static constexpr std::size_t maxSending = 32;  ///< Pieces that the system has not sent yet.

    PhoneIntake::Handlers intakeHandlers();
    void tellEnd(PhoneIntake::End end);
    void tellRoom();

    IOBluetoothRFCOMMChannel* channel_;
    OrvaneRfcommDelegate* nativeDelegate_;
    std::weak_ptr<RfcommChannelDelegate> delegate_;
    bool isClosed_ = false;
    PhoneIntake intake_{intakeHandlers()};
    const std::shared_ptr<Pieces> sending_ = std::make_shared<Pieces>();
    bool isBehind_ = false;  ///< Something has not been taken for want of room.
};

}  // namespace orvane
