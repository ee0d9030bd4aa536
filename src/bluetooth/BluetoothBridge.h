// The Bluetooth side of the program: finds the chosen phone, opens its RFCOMM service, and keeps the link
// that relays the phone's audio connection into the server's TCP port on this machine.
//
// Main thread only. Errors are states with a message for the menu, and lines in the system log.
#pragma once

#include "bluetooth/BtState.h"
#include "bluetooth/PhoneFinder.h"
#include "bluetooth/PhoneLink.h"
#include "platform/Bluetooth.h"
#include "platform/PortOwner.h"
#include "platform/RunLoop.h"
#include "platform/SystemLog.h"
#include "platform/UnreadBytes.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvane {

class Threads;
class UserDefaults;

/// Make it with `std::make_shared`: timers, threads and the Bluetooth system hold it weakly.
class BluetoothBridge : public BluetoothQueryTarget,
                        public RfcommChannelDelegate,
                        public std::enable_shared_from_this<BluetoothBridge>,
                        private PhoneLinkOwner {
  public:
    using ChangeHandler = std::function<void(const BtState&)>;
    /// How many changes wait to be heard, at most: of more, the last one waits in the place of those between.
    static constexpr std::size_t maxUnheard = 16;

    /// What it uses of the system; all of it outlives the bridge.
    struct Roles {
        RunLoop& runLoop;
        const Clock& clock;
        Threads& threads;
        UserDefaults& userDefaults;
        SystemLog systemLog;
        Bluetooth& bluetooth;
        IsOurPort isOurPort = everyPortIsOurs;
        UnreadBytes unreadBytes = unreadBytesUnknown;
    };

    /// `port` is the server's on 127.0.0.1. Reads the choice of the last run; starts nothing.
    BluetoothBridge(Roles roles, std::uint16_t port);
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
    std::string chosenName() const { return finder_.nameOf(chosenAddress_); }
    /// The phones that offer the service; the one found last is at the end.
    const std::vector<BluetoothOffer>& offering() const { return finder_.offering(); }

    /// The paired devices that have an address, each address once, in the system's order.
    static std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices(Bluetooth& bluetooth) {
        return PhoneFinder::pairedDevices(bluetooth);
    }

    void sdpQueryComplete(const std::shared_ptr<BluetoothDevice>& device, BluetoothStatus status) override;
    void rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>& channel,
                                   BluetoothStatus status) override;
    void rfcommChannelData(const std::shared_ptr<RfcommChannel>& channel,
                           std::span<const std::uint8_t> bytes) override;
    void rfcommChannelQueueSpaceAvailable(const std::shared_ptr<RfcommChannel>& channel) override;
    void rfcommChannelClosed(const std::shared_ptr<RfcommChannel>& channel) override;

  private:
    enum class Phase { greeting, piping };

    void log(const std::string& line) const override;
    void logOnce(const std::string& line) override;
    void setState(BtState state) override;
    std::string deviceName() const override;
    void linkFailed(const std::string& message) override;
    void linkStalled() override;
    void localReceived(std::span<const std::uint8_t> chunk, bool moreFollow) override;
    void localEnded(int fd) override;

    void notify();
    void tellNext();
    void setChosenAddress(const std::optional<std::string>& address);
    bool isChosen(const BluetoothDevice& device) const;
    void openChannel(const std::shared_ptr<BluetoothDevice>& device);
    void teardown();

    const Roles roles_;
    BtState state_ = BtState::off;
    ChangeHandler onChange_;
    std::deque<BtState> unheard_;  ///< Each with a block of its own in the main queue.
    std::optional<std::string> chosenAddress_;
    const std::uint16_t port_;
    std::unique_ptr<Timer> timer_;
    std::shared_ptr<BluetoothDevice> device_;  ///< The chosen phone, once looked up.
    std::shared_ptr<PhoneLink> link_;          ///< Being opened, or open.
    std::size_t attempt_ = 0;  ///< Never reset: a retry takes the next of the phone's channels.
    /// Kept for whoever reads the bridge's state as declared; frames are taken in any order, so nothing
    /// depends on it.
    [[maybe_unused]] const Phase phase_ = Phase::greeting;
    PhoneFinder finder_;
    std::string saidOnce_;  ///< The line that `logOnce` has said last.
};

}  // namespace orvane
