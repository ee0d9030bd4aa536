#include "terminal/TerminalOutput.h"

#include "posix/Deadline.h"

#include <cerrno>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::string_view gapNote = "… (not read in time: some output is missing here) …\n";

/// A terminal or pipe opened anew: not waiting is then a property of our opening alone, and not of the one
/// that the shell and others share with us.
int openForWriting(int descriptor) {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

bool hasRoom(int descriptor) {
    return pollUntil(descriptor, POLLOUT, Deadline::after({}));
}

}  // namespace

TerminalOutput::TerminalOutput(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) return;
    if (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)) descriptor_.reset(openForWriting(descriptor));
    if (!descriptor_) {
        descriptor_.reset(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        if (S_ISSOCK(status.st_mode)) kind_ = Kind::socket;
        if (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)) kind_ = Kind::mayBlock;
    }
    if (!descriptor_ || S_ISREG(status.st_mode)) return;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_.get(), QSocketNotifier::Write);
    notifier_->setEnabled(false);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { writeKept(); });
}

void TerminalOutput::write(std::string_view text) {
    if (!descriptor_) return;
    if (kept_.size() - written_ + text.size() > maxKept) {
        hasGap_ = true;
        return;
    }
    const bool wasWaiting = !kept_.empty();
    if (std::exchange(hasGap_, false)) kept_ += gapNote;
    kept_ += text;
    if (!wasWaiting) writeKept();
}

void TerminalOutput::finish(std::chrono::milliseconds patience) {
    const auto deadline = Deadline::after(patience);
    while (descriptor_ && !kept_.empty()) {
        if (deadline.hasPassed() || !pollUntil(descriptor_.get(), POLLOUT, deadline)) return;
        writeKept();
    }
}

void TerminalOutput::writeKept() {
    while (written_ < kept_.size()) {
        const ssize_t count = writeSome(std::string_view(kept_).substr(written_));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno != EAGAIN) return close();
        if (count <= 0) break;
        written_ += static_cast<std::size_t>(count);
    }
    // Taken away when it is the larger part, so that little is moved: each byte once, however small the
    // pieces.
    if (written_ * 2 >= kept_.size()) kept_.erase(0, std::exchange(written_, 0));
    if (kept_.empty()) kept_.shrink_to_fit();
    if (notifier_) notifier_->setEnabled(!kept_.empty());
}

ssize_t TerminalOutput::writeSome(std::string_view text) const {
    switch (kind_) {
        case Kind::socket:
            return ::send(descriptor_.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        case Kind::mayBlock:  // Somebody else's: a small piece is taken at once where there is room.
            if (!hasRoom(descriptor_.get())) return errno = EAGAIN, -1;
            return ::write(descriptor_.get(), text.data(),
                           std::min<std::size_t>(text.size(), _POSIX_PIPE_BUF));
        case Kind::neverBlocks:
            break;
    }
    return ::write(descriptor_.get(), text.data(), text.size());
}

void TerminalOutput::close() {
    if (notifier_) {
        notifier_->setEnabled(false);
        notifier_.release()->deleteLater();  // This may be a call from the notifier itself.
    }
    descriptor_.reset();
    kept_.clear();
    written_ = 0;
}

}  // namespace orvane
