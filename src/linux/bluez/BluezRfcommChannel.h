// An RFCOMM channel as a stream socket of the kernel (bluetooth/rfcomm.h), on the main run loop's notifiers.
// Main thread only.
#pragma once

#include "platform/Bluetooth.h"
#include "platform/RunLoop.h"
#include "posix/Descriptor.h"

#include <QSocketNotifier>
#include <chrono>
#include <memory>

namespace orvane {

class BluezRfcommChannel final : public RfcommChannel,
                                 public std::enable_shared_from_this<BluezRfcommChannel> {
  public:
    /// A peer that takes nothing for so long is given up: the channel closes.
    static constexpr std::chrono::milliseconds writeLimit{2000};
    /// The kernel does not tell a process the channel's own frame size and cuts writes to it by itself. This
    /// is what a channel over an L2CAP link of the default kind has.
    static constexpr std::size_t usualMtu = 1016;

    /// Takes over `socket`, whose connecting has been started. `runLoop` outlives the channel.
    static std::shared_ptr<BluezRfcommChannel> make(RunLoop& runLoop, Descriptor socket,
                                                    const std::weak_ptr<RfcommChannelDelegate>& delegate);

    std::size_t mtu() const override { return usualMtu; }
    BluetoothStatus writeSync(std::span<const std::uint8_t> bytes) override;
    void setDelegate(const std::weak_ptr<RfcommChannelDelegate>& delegate) override { delegate_ = delegate; }
    void closeChannel() override;

  private:
    struct LaterDeleter {
        // A notifier may be dropped by what its own activation has led to.
        void operator()(QSocketNotifier* notifier) const;
    };
    using Notifier = std::unique_ptr<QSocketNotifier, LaterDeleter>;

    BluezRfcommChannel(RunLoop& runLoop, Descriptor socket,
                       const std::weak_ptr<RfcommChannelDelegate>& delegate);

    Notifier watch(QSocketNotifier::Type type, void (BluezRfcommChannel::*activated)());
    void connectingAdvanced();
    void readable();
    void release();
    void closedByPeer();

    RunLoop& runLoop_;
    Descriptor socket_;
    std::weak_ptr<RfcommChannelDelegate> delegate_;
    Notifier reading_;
    Notifier writing_;  ///< While connecting only.
};

}  // namespace orvane
