// The Bluetooth side of the program: finds the chosen phone, opens its RFCOMM service, speaks the bridge
// frames with it, and relays the phone's audio connection into the server's TCP port on this machine.
//
// Main thread only; the one thread it starts reads the server's socket and hands everything back. Errors are
// states with a message for the menu, and lines in the system log. docs/bridge-protocol.md has the tables.
#pragma once

#include "bluetooth/BridgeFrame.h"
#include "bluetooth/BtState.h"
#include "platform/Bluetooth.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvane {

class LocalReader;

/// A phone whose service records show our service.
struct BluetoothOffer {
    std::string address;
    std::string name;
    bool operator==(const BluetoothOffer&) const = default;
};

/// Make it with `std::make_shared`: timers, threads and the Bluetooth system hold it weakly. The roles of
/// `platform` outlive it.
class BluetoothBridge : public BluetoothQueryTarget,
                        public RfcommChannelDelegate,
                        public std::enable_shared_from_this<BluetoothBridge> {
  public:
    using ChangeHandler = std::function<void(const BtState&)>;

    /// `port` is the server's on 127.0.0.1. Reads the choice of the last run; starts nothing.
    BluetoothBridge(const Platform& platform, std::uint16_t port);
    ~BluetoothBridge() override;
    BluetoothBridge(const BluetoothBridge&) = delete;
    BluetoothBridge& operator=(const BluetoothBridge&) = delete;

    /// Begins to look for the chosen phone, or for phones to choose from. `onChange` hears of every change
    /// later, with the state as it was then; and also, with the current state, when `offering` may have
    /// changed.
    void start(ChangeHandler onChange);
    void stop();
    /// Another phone, or none, from now on. Choosing the phone already chosen does nothing.
    void choose(const std::optional<std::string>& address);
    /// One look at the link: every 3 seconds, and after `start` and `choose`.
    void tick();

    const BtState& state() const { return state_; }
    /// The chosen phone's address, kept between runs.
    const std::optional<std::string>& chosenAddress() const { return chosenAddress_; }
    /// What to call the chosen phone: its name, or its address when the system knows no name. "phone" when
    /// none is chosen.
    std::string chosenName() const;
    /// The phones that offer the service; the one found last is at the end.
    const std::vector<BluetoothOffer>& offering() const { return offering_; }

    /// The paired devices that have an address, each address once, in the system's order.
    static std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices(Bluetooth& bluetooth);

    void sdpQueryComplete(const std::shared_ptr<BluetoothDevice>& device, BluetoothStatus status) override;
    void rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>& channel,
                                   BluetoothStatus status) override;
    void rfcommChannelData(const std::shared_ptr<RfcommChannel>& channel,
                           std::span<const std::uint8_t> bytes) override;
    void rfcommChannelClosed(const std::shared_ptr<RfcommChannel>& channel) override;

  private:
    enum class Phase { greeting, piping };

    // BluetoothBridge.cpp
    void setState(BtState state);
    void notify();
    void setChosenAddress(const std::optional<std::string>& address);
    std::string deviceName() const;
    void log(const std::string& line) const;
    void setChannel(std::shared_ptr<RfcommChannel> channel);
    void sweep();

    // BluetoothDiscovery.cpp
    void updateOffering(const BluetoothDevice& device);
    void openChannel(const std::shared_ptr<BluetoothDevice>& device);

    // BluetoothFrames.cpp
    void drainInbox();
    bool act(const BridgeFrame& frame);
    void attach();
    void detach();
    void send(FrameType type, std::span<const std::uint8_t> payload);

    // BluetoothRelay.cpp
    bool connectLocal();
    void closeLocal();
    void localEnded(int fd);
    void teardown();

    const Platform platform_;
    BtState state_ = BtState::off;
    ChangeHandler onChange_;
    std::optional<std::string> chosenAddress_;
    const std::uint16_t port_;
    std::unique_ptr<Timer> timer_;
    std::shared_ptr<RfcommChannel> channel_;   ///< Being opened, or open.
    std::shared_ptr<BluetoothDevice> device_;  ///< The chosen phone, once looked up.
    std::optional<TimePoint> openedAt_;
    bool channelOpen_ = false;
    std::size_t attempt_ = 0;  ///< Never reset: a retry takes the next of the phone's channels.
    FrameReader inbox_;
    [[maybe_unused]] Phase phase_ = Phase::greeting;
    std::uint32_t probeBytes_ = 0;
    int localFd_ = -1;  ///< The connection into the server, -1 when there is none.
    std::shared_ptr<LocalReader> localReader_;
    std::vector<BluetoothOffer> offering_;
    std::size_t sweepIndex_ = 0;
    /// `channel_ != nullptr`, for the reader's thread to see.
    const std::shared_ptr<std::atomic<bool>> hasChannel_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace orvane
