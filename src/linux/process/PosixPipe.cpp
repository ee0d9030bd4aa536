#include "linux/process/PosixPipe.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>

namespace orvane {

namespace {

/// No less than a pipe holds, so that only the writer decides where a chunk ends.
constexpr std::size_t chunkSize = 65536;

/// A descriptor of 0 to 2, free because this program was started without it, would be taken for the child's
/// own.
Descriptor aboveStandard(int descriptor) {
    if (descriptor > STDERR_FILENO) return Descriptor(descriptor);
    Descriptor low(descriptor);
    return Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace

PosixPipe::PosixPipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    reading_ = aboveStandard(ends[0]);
    writing_ = aboveStandard(ends[1]);
    ::fcntl(reading_.get(), F_SETFL, O_NONBLOCK);  // Of this end only: the child's writing end still waits.
}

PosixPipe::~PosixPipe() {
    stopFollowing();
}

void PosixPipe::setReadabilityHandler(ReadabilityHandler handler) {
    stopFollowing();
    handler_ = std::move(handler);
    if (!handler_ || !reading_) return;
    notifier_ = new QSocketNotifier(reading_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_, &QSocketNotifier::activated, notifier_, [weak = weak_from_this()] {
        if (const auto pipe = weak.lock()) pipe->deliver();
    });
}

void PosixPipe::closeWritingEnd() {
    writing_.reset();
    if (notifier_) self_ = shared_from_this();
}

void PosixPipe::stopFollowing() {
    const auto self = std::exchange(self_, nullptr);  // Perhaps the last one: it goes at the end of this.
    if (!notifier_) return;
    notifier_->setEnabled(false);
    std::exchange(notifier_, nullptr)->deleteLater();  // This may be a call from the notifier itself.
}

std::size_t PosixPipe::deliver() {
    const ReadabilityHandler handler = handler_;  // It may replace itself.
    return deliver(handler);
}

std::size_t PosixPipe::deliver(const ReadabilityHandler& handler) {
    std::array<char, chunkSize> buffer;
    const ssize_t count = ::read(reading_.get(), buffer.data(), buffer.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return 0;
    if (count <= 0) {  // The end of the stream; a child may close its output and live on.
        stopFollowing();
        reading_.reset();
        return 0;
    }
    if (handler) handler({buffer.data(), static_cast<std::size_t>(count)});
    return static_cast<std::size_t>(count);
}

void PosixPipe::discard() {
    deliver({});
}

void PosixPipe::deliverPending() {
    std::size_t pending = pendingBytes();
    while (pending > 0 && handler_) {
        const std::size_t count = deliver();
        if (count == 0) return;
        pending -= std::min(count, pending);
    }
}

/// The bytes that are there at the moment of the call, and no more: another process may go on writing. What a
/// child wrote before it exited is among them.
std::string PosixPipe::readAvailable() {
    std::string bytes(pendingBytes(), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = ::read(reading_.get(), bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

std::size_t PosixPipe::pendingBytes() const {
    int count = 0;
    if (!reading_ || ::ioctl(reading_.get(), FIONREAD, &count) != 0) return 0;
    return static_cast<std::size_t>(count);
}

}  // namespace orvane
