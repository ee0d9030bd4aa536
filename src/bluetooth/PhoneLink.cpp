#include "bluetooth/PhoneLink.h"

#include "text/BigEndian.h"

#include <algorithm>
#include <utility>

namespace orvane {

namespace {

constexpr int attachesAtOnce = 2;
constexpr Duration restAfterAttaches{0.05};
constexpr std::size_t sentTogether = 32768;  ///< Bytes for the phone that wait for no more to follow.

}  // namespace

PhoneLink::PhoneLink(std::weak_ptr<PhoneLinkOwner> owner, Roles roles, std::uint16_t port,
                     std::shared_ptr<RfcommChannel> channel)
    : owner_(std::move(owner)),
      roles_(roles),
      port_(port),
      channel_(std::move(channel)),
      openedAt_(roles.clock.now()),
      toPhone_(roles.runLoop, roles.clock,
               {.write = [this](std::span<const std::uint8_t> bytes) { return writeToPhone(bytes); },
                .hasRoom = [this] { balance(); },
                .stalled = [this] { stalled(); }}) {}

PhoneLink::~PhoneLink() {
    close();
}

bool PhoneLink::isLate(Duration limit) const {
    return !open_ && roles_.clock.now() - openedAt_ > limit;
}

void PhoneLink::receive(std::span<const std::uint8_t> bytes) {
    const auto owner = owner_.lock();
    if (!owner) return;
    inbox_.append(bytes);
    drainInbox(*owner);
}

/// Frames behind an attach wait until it is decided where they go.
void PhoneLink::drainInbox(PhoneLinkOwner& owner) {
    int attaches = 0;
    while (!isConnecting() && !resting_) {
        const auto next = inbox_.next();
        if (const auto* lack = std::get_if<FrameReader::Lack>(&next)) {
            if (*lack == FrameReader::Lack::needMore) break;
            sendToServer();
            return owner.linkFailed("bad frame from the phone");
        }
        const auto& frame = std::get<BridgeFrame>(next);
        if (frame.type == FrameType::data) {
            if (isConnected()) relay_->add(frame.payload);
            continue;
        }
        sendToServer();
        if (!act(frame, owner)) return owner.linkFailed("unexpected data from the phone");
        if (frame.type == FrameType::attach && ++attaches == attachesAtOnce) rest();
    }
    sendToServer();
    balance();
}

/// What frames that came together carry goes out in one write: to the server it is a stream.
void PhoneLink::sendToServer() {
    if (isConnected()) relay_->send();
}

/// Each attach is a connection and a thread: a phone that sends nothing else would leave time for nothing
/// else.
void PhoneLink::rest() {
    resting_ = true;
    roles_.runLoop.asyncAfter(restAfterAttaches, [weak = weak_from_this()] {
        const auto self = weak.lock();
        const auto owner = self ? self->owner_.lock() : nullptr;
        if (!owner) return;
        self->resting_ = false;
        self->drainInbox(*owner);
    });
}

/// On a frame that carries nothing for the server. False for one of unknown type.
bool PhoneLink::act(const BridgeFrame& frame, PhoneLinkOwner& owner) {
    switch (frame.type) {
        case FrameType::hello:
            owner.log("bridge v" + std::to_string(frame.payload.empty() ? 0 : frame.payload[0]));
            return true;
        case FrameType::linkTestStart:
            send(FrameType::linkTestAcknowledgement, {});
            probeBytes_ = 0;
            owner.log("link test started");
            owner.setState(BtState::testing(owner.deviceName()));
            return true;
        case FrameType::probe:
            probeBytes_ += static_cast<std::uint32_t>(frame.payload.size());
            return true;
        case FrameType::linkTestEnd:
            send(FrameType::linkTestResult, bigEndianBytes(probeBytes_));
            owner.log("link test received " + std::to_string(probeBytes_) + " bytes");
            return true;
        case FrameType::attach:
            connectEnded(connectLocal(owner), owner);
            return true;
        case FrameType::detach:
            detach(owner);
            return true;
        default:
            return false;
    }
}

/// Nothing to be said yet while it is under way.
void PhoneLink::connectEnded(LocalRelay::Connecting connecting, PhoneLinkOwner& owner) {
    if (connecting == LocalRelay::Connecting::underWay) return;
    if (connecting == LocalRelay::Connecting::done) {
        owner.log("engine attached, bridged into orvaned");
        owner.setState(BtState::live(owner.deviceName()));
        return;
    }
    if (relay_ && !relay_->lack().empty()) owner.logOnce(std::string(relay_->lack()));
    relay_.reset();
    owner.log("orvaned is not accepting connections");
    owner.setState(BtState::failed("the receiver is not accepting connections"));
}

void PhoneLink::detach(PhoneLinkOwner& owner) {
    owner.log("engine detached");
    relay_.reset();
    owner.setState(BtState::searching(owner.deviceName()));
}

LocalRelay::Connecting PhoneLink::connectLocal(PhoneLinkOwner& owner) {
    // The new socket comes before the old one is closed, so that their numbers differ: a reader's end is
    // matched to the connection by number.
    Descriptor socket = makeServerSocket();
    if (!socket) {
        owner.logOnce("no descriptor is left for a connection into orvaned");
        return LocalRelay::Connecting::failed;
    }
    const int fd = socket.get();
    relay_ = std::make_unique<LocalRelay>(std::move(socket), roles_, relayHandlers(fd));
    return relay_->connect(port_);
}

LocalRelay::Handlers PhoneLink::relayHandlers(int fd) {
    LocalRelay::Handlers handlers;
    handlers.connected = [weak = weak_from_this()](LocalRelay::Connecting connecting) {
        const auto self = weak.lock();
        const auto owner = self ? self->owner_.lock() : nullptr;
        if (!owner) return;
        self->connectEnded(connecting, *owner);
        self->drainInbox(*owner);
    };
    handlers.hasRoom = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->balance();
    };
    handlers.isWanted = [owner = owner_] { return !owner.expired(); };
    handlers.reader.received = [owner = owner_](std::span<const std::uint8_t> chunk, bool moreFollow) {
        if (const auto bridge = owner.lock()) bridge->localReceived(chunk, moreFollow);
    };
    handlers.reader.ended = [owner = owner_, fd] {
        if (const auto bridge = owner.lock()) bridge->localEnded(fd);
    };
    return handlers;
}

void PhoneLink::localEnded(int fd) {
    if (!isConnected() || relay_->fd() != fd) return;
    relay_.reset();
    balance();
    if (const auto owner = owner_.lock()) owner->setState(BtState::searching(owner->deviceName()));
}

void PhoneLink::send(FrameType type, std::span<const std::uint8_t> payload, bool moreFollow) {
    if (!channel_) return;
    toPhone_.add(frameHeader(type, payload.size()));
    toPhone_.add(payload);
    if (moreFollow && toPhone_.size() < sentTogether) return;
    toPhone_.send();
    balance();
}

void PhoneLink::writable() {
    toPhone_.flush();
}

void PhoneLink::stalled() {
    if (const auto owner = owner_.lock()) owner->linkStalled();
}

std::size_t PhoneLink::writeToPhone(std::span<const std::uint8_t> bytes) {
    const std::size_t mtu = std::max<std::size_t>(channel_->mtu(), 1);
    return channel_->write(bytes.first(std::min(mtu, bytes.size())));
}

/// Holds back whoever brings more than the other side takes.
void PhoneLink::balance() {
    if (!channel_) return;
    const bool phoneIsBehind = toPhone_.isFull();
    if (relay_) relay_->holdReader(phoneIsBehind);
    const bool serverIsBehind = relay_ && (isConnecting() || relay_->isFull());
    const bool receiving = !phoneIsBehind && !serverIsBehind && !resting_;
    if (receiving != std::exchange(receiving_, receiving)) channel_->setReceiving(receiving);
}

void PhoneLink::close() {
    relay_.reset();
    const auto channel = std::exchange(channel_, nullptr);
    if (channel) {
        channel->setDelegate({});
        channel->closeChannel();
    }
    inbox_.clear();
}

}  // namespace orvane
