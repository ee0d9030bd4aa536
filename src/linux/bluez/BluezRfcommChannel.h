// An RFCOMM channel as a stream socket of the kernel (bluetooth/rfcomm.h), on the main run loop's notifiers.
// Main thread only.
#pragma once

#include "platform/Bluetooth.h"
#include "posix/Descriptor.h"

#include <QSocketNotifier>
#include <memory>

namespace orvane {

class BluezRfcommChannel final : public RfcommChannel,
                                 public std::enable_shared_from_this<BluezRfcommChannel> {
  public:
    /// The kernel cuts what is written into the channel's own frames: so this bounds a call, not a frame.
    static constexpr std::size_t maxWrite = 65536;

    /// Takes over `socket`, whose connecting has been started.
    static std::shared_ptr<BluezRfcommChannel> make(Descriptor socket,
                                                    const std::weak_ptr<RfcommChannelDelegate>& delegate);

    std::size_t mtu() const override { return maxWrite; }
    std::size_t write(std::span<const std::uint8_t> bytes) override;
    void setReceiving(bool receiving) override;
    void setDelegate(const std::weak_ptr<RfcommChannelDelegate>& delegate) override { delegate_ = delegate; }
    void closeChannel() override;

  private:
    struct LaterDeleter {
        // A notifier may be dropped by what its own activation has led to.
        void operator()(QSocketNotifier* notifier) const;
    };
    using Notifier = std::unique_ptr<QSocketNotifier, LaterDeleter>;

    BluezRfcommChannel(Descriptor socket, const std::weak_ptr<RfcommChannelDelegate>& delegate);

    Notifier watch(QSocketNotifier::Type type, void (BluezRfcommChannel::*activated)());
    void connectingAdvanced();
    void readable();
    void writable();
    void release();
    void closedByPeer();

    Descriptor socket_;
    std::weak_ptr<RfcommChannelDelegate> delegate_;
    Notifier reading_;
    Notifier writing_;  ///< While connecting, and while there is no room for bytes.
    bool isOpen_ = false;
    bool receiving_ = true;
};

}  // namespace orvane
