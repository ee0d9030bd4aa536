#include "bluetooth/PhoneLink.h"

#include "text/BigEndian.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace orvane {

PhoneLink::PhoneLink(std::weak_ptr<PhoneLinkOwner> owner, Roles roles, std::uint16_t port,
                     std::shared_ptr<RfcommChannel> channel)
    : owner_(std::move(owner)),
      roles_(roles),
      port_(port),
      channel_(std::move(channel)),
      openedAt_(roles.clock.now()) {}

PhoneLink::~PhoneLink() {
    close();
}

bool PhoneLink::isLate(Duration limit) const {
    return !open_ && roles_.clock.now() - openedAt_ > limit;
}

void PhoneLink::receive(std::span<const std::uint8_t> bytes) {
    const auto owner = owner_.lock();
    if (!owner || bytes.empty()) return;
    inbox_.append(bytes);
    drainInbox(*owner);
}

void PhoneLink::drainInbox(PhoneLinkOwner& owner) {
    while (true) {
        const auto next = inbox_.next();
        if (const auto* lack = std::get_if<FrameReader::Lack>(&next)) {
            if (*lack == FrameReader::Lack::badLength) owner.linkFailed("bad frame from the phone");
            return;
        }
        if (!act(std::get<BridgeFrame>(next), owner))
            return owner.linkFailed("unexpected data from the phone");
    }
}

/// False for a frame of unknown type.
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
        case FrameType::linkTestEnd: {
            std::vector<std::uint8_t> result;
            appendBigEndian(result, probeBytes_);
            send(FrameType::linkTestResult, result);
            owner.log("link test received " + std::to_string(probeBytes_) + " bytes");
            return true;
        }
        case FrameType::attach:
            attach(owner);
            return true;
        case FrameType::detach:
            detach(owner);
            return true;
        case FrameType::data:
            if (localFd_ >= 0) writeToServer(localFd_, frame.payload);
            return true;
        default:
            return false;
    }
}

void PhoneLink::attach(PhoneLinkOwner& owner) {
    if (connectLocal()) {
        owner.log("engine attached, bridged into orvaned");
        owner.setState(BtState::live(owner.deviceName()));
    } else {
        owner.log("orvaned is not accepting connections");
        owner.setState(BtState::failed("the receiver is not accepting connections"));
    }
}

void PhoneLink::detach(PhoneLinkOwner& owner) {
    owner.log("engine detached");
    closeLocal();
    owner.setState(BtState::searching(owner.deviceName()));
}

void PhoneLink::send(FrameType type, std::span<const std::uint8_t> payload) {
    const auto channel = channel_;
    if (!channel) return;
    const auto frame = encodeFrame(type, payload);
    const std::size_t mtu = std::max<std::size_t>(channel->mtu(), 1);
    for (auto rest = std::span<const std::uint8_t>(frame); !rest.empty();) {
        const std::size_t size = std::min(mtu, rest.size());
        channel->writeSync(rest.first(size));
        rest = rest.subspan(size);
    }
}

bool PhoneLink::connectLocal() {
    // The new socket comes before the old one is closed, so that their numbers differ: a reader's end is
    // matched to the connection by number.
    const int fd = makeServerSocket();
    closeLocal();
    if (fd < 0) return false;

    LocalReader::Handlers handlers;
    handlers.received = [owner = owner_](const LocalReader::Bytes& chunk) {
        if (const auto bridge = owner.lock()) bridge->localReceived(chunk);
    };
    handlers.ended = [owner = owner_, fd] {
        if (const auto bridge = owner.lock()) bridge->localEnded(fd);
    };
    auto reader = std::make_shared<LocalReader>(fd, roles_.runLoop, std::move(handlers));
    if (!reader->isOpen() || !connectToServer(fd, port_)) {
        closeServerSocket(fd);
        return false;
    }
    localFd_ = fd;
    localReader_ = reader;
    roles_.threads.start("orvane.bt.local", [owner = owner_, reader] {
        if (!owner.expired()) reader->run();
    });
    return true;
}

void PhoneLink::closeLocal() {
    if (localReader_) localReader_->stop();
    localReader_.reset();
    if (localFd_ >= 0) closeServerSocket(std::exchange(localFd_, -1));
}

void PhoneLink::localEnded(int fd) {
    if (localFd_ != fd) return;
    closeLocal();
    const auto owner = owner_.lock();
    if (owner) owner->setState(BtState::searching(owner->deviceName()));
}

void PhoneLink::close() {
    closeLocal();
    const auto channel = std::exchange(channel_, nullptr);
    if (channel) {
        channel->setDelegate({});
        channel->closeChannel();
    }
    inbox_.clear();
}

}  // namespace orvane
