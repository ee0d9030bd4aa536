#include "bluetooth/LocalReader.h"

#include "platform/RunLoop.h"

#include <algorithm>
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
    std::array<std::uint8_t, chunksAtOnce * chunkSize> buffer{};
    while (const std::size_t room = waitForRoom()) {
        const ssize_t count = readSome(fd_.get(), std::span(buffer).first(room * chunkSize));
        if (count < 1 || stopped_) break;
        post(std::span(buffer).first(static_cast<std::size_t>(count)));
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

/// How many chunks may be read now; 0 when nothing is to be read any more.
std::size_t LocalReader::waitForRoom() {
    std::unique_lock lock(mutex_);
    // Once paused, it goes on when half is free: a thread woken for every chunk would cost more than the
    // chunk.
    if (held_ || waiting_ >= maxWaiting)
        mayGoOn_.wait(lock, [this] { return stopped_ || (!held_ && waiting_ <= maxWaiting / 2); });
    return stopped_ ? 0 : std::min(chunksAtOnce, maxWaiting - waiting_);
}

void LocalReader::post(std::span<const std::uint8_t> bytes) {
    std::vector<std::uint8_t> copy;
    {
        const std::lock_guard lock(mutex_);
        waiting_ += (bytes.size() + chunkSize - 1) / chunkSize;
        copy.swap(spare_);
    }
    copy.assign(bytes.begin(), bytes.end());
    runLoop_.async([self = shared_from_this(), copy = std::move(copy)]() mutable { self->handOn(copy); });
}

/// Takes the memory of `bytes` for the next read.
void LocalReader::handOn(std::vector<std::uint8_t>& bytes) {
    for (std::span<const std::uint8_t> rest(bytes); !rest.empty();) {
        const auto chunk = rest.first(std::min(rest.size(), chunkSize));
        rest = rest.subspan(chunk.size());
        handlers_.received(chunk, handled());
    }
    const std::lock_guard lock(mutex_);
    spare_.swap(bytes);
}

/// One chunk less waits. True when there are more.
bool LocalReader::handled() {
    const std::lock_guard lock(mutex_);
    if (--waiting_ == maxWaiting / 2) mayGoOn_.notify_one();
    return waiting_ > 0;
}

}  // namespace orvane
