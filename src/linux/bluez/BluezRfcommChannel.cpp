#include "linux/bluez/BluezRfcommChannel.h"

#include "linux/bluez/BluezSocket.h"

#include <array>
#include <cerrno>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace orvane {

namespace {

/// A write that met the end of the link has used its error up: reading then finds neither bytes nor an end,
/// for ever.
bool hasHungUp(const Descriptor& socket) {
    pollfd state{.fd = socket.get(), .events = 0, .revents = 0};
    return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR)) != 0;
}

}  // namespace

std::shared_ptr<BluezRfcommChannel> BluezRfcommChannel::make(
    Descriptor socket, const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    return std::shared_ptr<BluezRfcommChannel>(new BluezRfcommChannel(std::move(socket), delegate));
}

BluezRfcommChannel::BluezRfcommChannel(Descriptor socket,
                                       const std::weak_ptr<RfcommChannelDelegate>& delegate)
    : socket_(std::move(socket)), delegate_(delegate) {
    // Which of the two a failed connecting wakes depends on the event loop's kind.
    writing_ = watch(QSocketNotifier::Write, &BluezRfcommChannel::connectingAdvanced);
    reading_ = watch(QSocketNotifier::Read, &BluezRfcommChannel::connectingAdvanced);
}

void BluezRfcommChannel::LaterDeleter::operator()(QSocketNotifier* notifier) const {
    notifier->setEnabled(false);
    notifier->disconnect();
    notifier->deleteLater();
}

BluezRfcommChannel::Notifier BluezRfcommChannel::watch(QSocketNotifier::Type type,
                                                       void (BluezRfcommChannel::*activated)()) {
    Notifier notifier(new QSocketNotifier(socket_.get(), type));
    // Held during the call: the delegate may drop its reference in it.
    QObject::connect(notifier.get(), &QSocketNotifier::activated,
                     [this, activated] { (shared_from_this().get()->*activated)(); });
    return notifier;
}

void BluezRfcommChannel::connectingAdvanced() {
    const auto status = connectResult(socket_);
    if (!status) return;
    writing_.reset();
    if (*status == bluetoothSuccess) {
        isOpen_ = true;
        reading_ = watch(QSocketNotifier::Read, &BluezRfcommChannel::readable);
        reading_->setEnabled(receiving_);
    } else {
        release();
    }
    if (const auto delegate = delegate_.lock()) {
        delegate->rfcommChannelOpenComplete(shared_from_this(), *status);
    }
}

/// One read an activation, so that a busy phone leaves the run loop its turns.
void BluezRfcommChannel::readable() {
    std::array<std::uint8_t, 65536> buffer;
    const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR) && !hasHungUp(socket_)) return;
    // The phone's orderly close is an error here (ECONNRESET); bytes that were on their way come first.
    if (size <= 0) return closedByPeer();
    if (const auto delegate = delegate_.lock()) {
        delegate->rfcommChannelData(shared_from_this(),
                                    std::span(buffer).first(static_cast<std::size_t>(size)));
    }
}

std::size_t BluezRfcommChannel::write(std::span<const std::uint8_t> bytes) {
    while (socket_) {
        const ssize_t size = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (size < 0 && errno == EINTR) continue;
        // A link that is gone is left to the reading side: bytes may still be waiting there.
        if (size < 0 && errno != EAGAIN) break;
        const std::size_t taken = size < 0 ? 0 : static_cast<std::size_t>(size);
        if (taken < bytes.size() && isOpen_ && !writing_)
            writing_ = watch(QSocketNotifier::Write, &BluezRfcommChannel::writable);
        return taken;
    }
    return bytes.size();
}

void BluezRfcommChannel::writable() {
    writing_.reset();
    if (const auto delegate = delegate_.lock())
        delegate->rfcommChannelQueueSpaceAvailable(shared_from_this());
}

void BluezRfcommChannel::setReceiving(bool receiving) {
    receiving_ = receiving;
    if (isOpen_ && reading_) reading_->setEnabled(receiving);
}

void BluezRfcommChannel::closeChannel() {
    delegate_.reset();
    release();
}

void BluezRfcommChannel::release() {
    reading_.reset();
    writing_.reset();
    socket_.reset();
}

void BluezRfcommChannel::closedByPeer() {
    release();
    if (const auto delegate = std::exchange(delegate_, {}).lock()) {
        delegate->rfcommChannelClosed(shared_from_this());
    }
}

}  // namespace orvane
