#include "bluetooth/LocalReader.h"

#include "platform/RunLoop.h"

#include <array>
#include <cerrno>
#include <span>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

namespace {

ssize_t readSome(int fd, std::span<std::uint8_t> buffer) {
    while (true) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count >= 0 || errno != EINTR) return count;
    }
}

}  // namespace

LocalReader::LocalReader(int fd, RunLoop& runLoop, Handlers handlers)
    : fd_(::fcntl(fd, F_DUPFD_CLOEXEC, 0)), runLoop_(runLoop), handlers_(std::move(handlers)) {}

void LocalReader::run() {
    std::array<std::uint8_t, readSize> buffer{};
    while (waitForRoom()) {
        const ssize_t count = readSome(fd_.get(), buffer);
        if (count < 1 || stopped_) break;
        post({buffer.begin(), buffer.begin() + count});
    }
    fd_.reset();  // Not left to the blocks posted, which may wait for long.
    runLoop_.async([self = shared_from_this()] { self->handlers_.ended(); });
}

void LocalReader::hold(bool held) {
    {
        const std::lock_guard lock(mutex_);
        held_ = held;
    }
    if (!held) mayGoOn_.notify_one();
}

void LocalReader::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    mayGoOn_.notify_one();
}

bool LocalReader::waitForRoom() {
    std::unique_lock lock(mutex_);
    // Once paused, it goes on when half is free: a thread woken for every chunk would cost more than the
    // chunk.
    if (held_ || waiting_ >= maxWaiting)
        mayGoOn_.wait(lock, [this] { return stopped_ || (!held_ && waiting_ <= maxWaiting / 2); });
    return !stopped_;
}

void LocalReader::post(Bytes chunk) {
    {
        const std::lock_guard lock(mutex_);
        ++waiting_;
    }
    runLoop_.async([self = shared_from_this(), chunk = std::move(chunk)] {
        self->handlers_.received(chunk);
        self->handled();
    });
}

void LocalReader::handled() {
    const std::lock_guard lock(mutex_);
    if (--waiting_ == maxWaiting / 2) mayGoOn_.notify_one();
}

}  // namespace orvane
