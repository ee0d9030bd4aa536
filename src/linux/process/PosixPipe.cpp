#include "linux/process/PosixPipe.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

#include <fcntl.h>
#include <malloc.h>

namespace orvane {

namespace {

/// What the server can be ahead of us: much, so that both work at once when it floods. As much as the kernel
/// lets every user have.
constexpr int wantedCapacity = 1 << 20;
constexpr int usualCapacity = 1 << 16;
/// So long after the last great piece of a flood, the memory that the flood took is given back.
constexpr std::chrono::seconds calm{2};

}  // namespace

PosixPipe::PosixPipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    reading_.reset(ends[0]);
    writing_.reset(ends[1]);
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

/// No less than the pipe holds, so that only the writer decides where a chunk ends. Memory that no chunk
/// fills is never touched.
void PosixPipe::makeBuffer() {
    ::fcntl(reading_.get(), F_SETPIPE_SZ, wantedCapacity);
    bufferSize_ = static_cast<std::size_t>(std::max(::fcntl(reading_.get(), F_GETPIPE_SZ), usualCapacity));
    buffer_ = std::make_unique_for_overwrite<char[]>(bufferSize_);
}

/// The pieces have been through the heap, too, which keeps to itself what they took there.
void PosixPipe::awaitCalm() {
    if (!calm_) {
        calm_ = std::make_unique<QTimer>();
        calm_->setSingleShot(true);
        calm_->setInterval(calm);
        QObject::connect(calm_.get(), &QTimer::timeout, [this] {
            buffer_.reset();
            ::malloc_trim(0);
        });
    }
    calm_->start();
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
    if (!buffer_) makeBuffer();
    const ssize_t count = ::read(reading_.get(), buffer_.get(), bufferSize_);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return 0;
    if (count <= 0) {  // The end of the stream; a child may close its output and live on.
        stopFollowing();
        reading_.reset();
        return 0;
    }
    if (handler && count > usualCapacity) awaitCalm();
    if (handler) handler({buffer_.get(), static_cast<std::size_t>(count)});
    return static_cast<std::size_t>(count);
}

void PosixPipe::discard() {
    deliver({});
}

void PosixPipe::deliverPending() {
    std::size_t pending = pendingBytes(reading_.get());
    while (pending > 0 && handler_) {
        const std::size_t count = deliver();
        if (count == 0) return;
        pending -= std::min(count, pending);
    }
}

}  // namespace orvane
