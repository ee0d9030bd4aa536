#include "linux/process/PosixProcesses.h"

#include <csignal>

namespace orvane {

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
