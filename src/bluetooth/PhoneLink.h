// One RFCOMM connection to a phone, from the moment its opening has been started until its end: the frames on
// it, the link test, and the phone's connection into the server. Main thread only, except the reader of the
// server's socket. docs/bridge-protocol.md has the tables.
#pragma once

#include "bluetooth/BridgeFrame.h"
#include "bluetooth/BtState.h"
#include "bluetooth/LocalRelay.h"
#include "bluetooth/Outbox.h"
#include "platform/Bluetooth.h"
#include "platform/RunLoop.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace orvane {

/// Whom a link belongs to: the bridge.
class PhoneLinkOwner {
  public:
    virtual ~PhoneLinkOwner() = default;
    virtual void log(const std::string& line) const = 0;
    /// The same, of something that may go wrong again and again: said once.
    virtual void logOnce(const std::string& line) = 0;
    virtual void setState(BtState state) = 0;
    /// What to call the phone.
    virtual std::string deviceName() const = 0;
    /// The phone does not keep to the protocol: the link is to be ended.
    virtual void linkFailed(const std::string& message) = 0;
    /// The phone has taken nothing for too long: the link is to be ended.
    virtual void linkStalled() = 0;
    /// What the reader of the server's socket says. It comes to the owner, not to the link: it is meant for
    /// the link that there is when it arrives.
    virtual void localReceived(std::span<const std::uint8_t> chunk, bool moreFollow) = 0;
    virtual void localEnded(int fd) = 0;
};

/// Its owner ends it by `close`; nothing is heard of it after that.
///
/// Nothing here waits. What the phone does not take at once is kept, and while too much of it is, the reader
/// of the server's socket is held back. While the server takes too little, or is still being connected to,
/// the phone is held back. So at most half a megabyte waits in each direction, besides what a channel keeps
/// whose system does not hold the phone back.
class PhoneLink : public std::enable_shared_from_this<PhoneLink> {
  public:
    using Roles = LocalRelay::Roles;

    /// The roles outlive the link. `port` is the server's on 127.0.0.1.
    PhoneLink(std::weak_ptr<PhoneLinkOwner> owner, Roles roles, std::uint16_t port,
              std::shared_ptr<RfcommChannel> channel);
    ~PhoneLink();
    PhoneLink(const PhoneLink&) = delete;
    PhoneLink& operator=(const PhoneLink&) = delete;

    void opened() { open_ = true; }
    /// True while it is not open though its opening has been started more than `limit` ago.
    bool isLate(Duration limit) const;
    /// Bytes from the phone: acts on every frame that is whole by now.
    void receive(std::span<const std::uint8_t> bytes);
    /// The channel takes bytes again.
    void writable();
    /// Frames one message for the phone. It is written at once, together with those that wait for it, unless
    /// more `follow` without delay.
    void send(FrameType type, std::span<const std::uint8_t> payload, bool moreFollow = false);
    /// The reader of the connection `fd` has come to its end. Nothing happens when that connection has been
    /// closed or replaced meanwhile, unless the new one was given the same number.
    void localEnded(int fd);
    /// Ends the connection into the server, then the channel.
    void close();

  private:
    void drainInbox(PhoneLinkOwner& owner);
    void rest();
    bool act(const BridgeFrame& frame, PhoneLinkOwner& owner);
    LocalRelay::Connecting connectLocal(PhoneLinkOwner& owner);
    LocalRelay::Handlers relayHandlers(int fd);
    void connectEnded(LocalRelay::Connecting connecting, PhoneLinkOwner& owner);
    void detach(PhoneLinkOwner& owner);
    void sendToServer();
    bool isConnecting() const { return relay_ && relay_->state() == LocalRelay::Connecting::underWay; }
    bool isConnected() const { return relay_ && relay_->state() == LocalRelay::Connecting::done; }
    std::size_t writeToPhone(std::span<const std::uint8_t> bytes);
    void stalled();
    void balance();

    const std::weak_ptr<PhoneLinkOwner> owner_;
    const Roles roles_;
    const std::uint16_t port_;
    std::shared_ptr<RfcommChannel> channel_;  ///< Null once closed.
    const TimePoint openedAt_;                ///< When its opening was started.
    bool open_ = false;
    FrameReader inbox_;
    std::uint32_t probeBytes_ = 0;
    bool receiving_ = true;
    bool resting_ = false;  ///< For a moment, whatever the inbox holds.
    Outbox toPhone_;
    std::unique_ptr<LocalRelay> relay_;  ///< The connection into the server, or the way there.
};

}  // namespace orvane
