#include "linux/process/PosixProcesses.h"

#include "linux/process/LaunchError.h"

#include <array>
#include <cerrno>
#include <csignal>

namespace orvane {

namespace {

/// What a child may print while the main thread waits for it. Nobody takes the chunks off the main queue
/// meanwhile; beyond this the child has to wait, too.
constexpr std::size_t maxWhileWaiting = 4 << 20;

bool isFollowed(const std::shared_ptr<PosixPipe>& pipe) {
    return pipe && pipe->isFollowed();
}

}  // namespace

PosixTask::~PosixTask() {
    if (isWatched_ || !child_ || child_->hasExited()) return;
    if (const auto watcher = watcher_.lock()) watcher->reapLater(child_);
}

void PosixTask::setStandardOutput(const std::shared_ptr<Pipe>& pipe) {
    output_ = std::static_pointer_cast<PosixPipe>(pipe);
}

void PosixTask::setStandardError(const std::shared_ptr<Pipe>& pipe) {
    error_ = std::static_pointer_cast<PosixPipe>(pipe);
}

std::optional<std::string> PosixTask::launch() {
    ChildProcess::Started started;
    const auto isUnusable = [](const auto& pipe) { return pipe && pipe->writingEnd() < 0; };
    if (isUnusable(output_) || isUnusable(error_))
        started.error = EMFILE;
    else
        started = ChildProcess::start(
            path_, arguments_, {output_ ? output_->writingEnd() : -1, error_ ? error_->writingEnd() : -1});
    for (const auto& pipe : {output_, error_})
        if (pipe) pipe->closeWritingEnd();
    if (!started.child)
        return "The file “" + path_ + "” could not be started: " + launchError(path_, started.error);

    child_ = std::move(started.child);
    if (handler_ || isFollowed(output_) || isFollowed(error_)) watch();
    return std::nullopt;
}

void PosixTask::watch() {
    const auto watcher = watcher_.lock();
    if (!watcher) return;
    isWatched_ = true;
    watcher->watch(child_, {output_, error_}, [weak = weak_from_this()] {
        if (const auto task = weak.lock()) task->exited();
    });
}

void PosixTask::terminate() {
    if (child_) child_->signal(SIGTERM);
}

void PosixTask::kill() {
    if (child_) child_->signal(SIGKILL);
}

bool PosixTask::waitUntilExit(Duration limit) {
    return !child_ ||
           waitForExit(Deadline::after(std::chrono::duration_cast<Deadline::Clock::duration>(limit)));
}

bool PosixTask::waitForExit(Deadline deadline) {
    std::size_t delivered = 0;
    while (isRunning()) {
        const auto source = [&](const auto& pipe) {
            const bool reads = isFollowed(pipe) && delivered < maxWhileWaiting;
            return pollfd{reads ? pipe->readingEnd() : -1, POLLIN, 0};
        };
        std::array<pollfd, 3> sources = {
            {{child_->descriptor(), POLLIN, 0}, source(output_), source(error_)}};
        if (!pollUntil(sources, deadline)) return false;
        if (sources[1].revents != 0) delivered += output_->deliver();
        if (sources[2].revents != 0 && error_ != output_) delivered += error_->deliver();
    }
    deliverPending();
    return true;
}

std::int32_t PosixTask::terminationStatus() const {
    return child_ ? child_->status().value_or(0) : 0;
}

/// What the child wrote before it exited comes before the news of its exit. The end of the stream is not
/// waited for: another process may hold the pipe.
void PosixTask::exited() {
    deliverPending();
    if (const TerminationHandler handler = std::exchange(handler_, {})) handler();
}

void PosixTask::deliverPending() {
    if (isFollowed(output_)) output_->deliverPending();
    if (isFollowed(error_) && error_ != output_) error_->deliverPending();
}

PosixProcesses::PosixProcesses() : watcher_(std::make_shared<ChildWatcher>()) {
    // Whoever started this program may have had SIGCHLD ignored: then the kernel would reap our children, and
    // nobody would know their status.
    struct sigaction current = {};
    if (::sigaction(SIGCHLD, nullptr, &current) == 0 && current.sa_handler == SIG_IGN)
        std::signal(SIGCHLD, SIG_DFL);
}

std::shared_ptr<Pipe> PosixProcesses::makePipe() {
    return std::make_shared<PosixPipe>();
}

std::shared_ptr<Task> PosixProcesses::makeTask() {
    return std::make_shared<PosixTask>(watcher_);
}

void PosixProcesses::endFollowed(std::chrono::milliseconds grace) {
    watcher_->endWatched(grace);
}

}  // namespace orvane
