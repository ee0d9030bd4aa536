#include "linux/process/ChildWatcher.h"

#include <QSocketNotifier>
#include <QThread>
#include <algorithm>
#include <csignal>

namespace orvane {

void ChildWatcher::watch(const std::shared_ptr<ChildProcess>& child, const Pipes& pipes,
                         const std::function<void()>& exited) {
    onMainThread([this, child, pipes, exited] {
        std::erase_if(watched_, [](const Watched& known) { return known.child.expired(); });
        watched_.push_back({child, {pipes.begin(), pipes.end()}});
        notify(child, exited);
    });
}

void ChildWatcher::reapLater(const std::shared_ptr<ChildProcess>& child) {
    onMainThread([this, child] { notify(child, [] {}); });
}

void ChildWatcher::endWatched(std::chrono::milliseconds grace) {
    const auto deadline = Deadline::after(grace);
    const auto all = running();
    for (const Running& one : all)
        one.child->signal(SIGTERM);
    for (const Running& one : all)
        waitForExit(one, deadline);
    for (const Running& one : all)
        one.child->signal(SIGKILL);
    for (const Running& one : all)
        waitForExit(one, Deadline::after(grace));
}

std::vector<ChildWatcher::Running> ChildWatcher::running() const {
    std::vector<Running> all;
    for (const Watched& known : watched_) {
        Running one{known.child.lock(), {}};
        if (!one.child || one.child->hasExited()) continue;
        for (const auto& pipe : known.pipes)
            if (auto open = pipe.lock()) one.pipes.push_back(std::move(open));
        all.push_back(std::move(one));
    }
    return all;
}

void ChildWatcher::waitForExit(const Running& running, Deadline deadline) {
    while (!running.child->hasExited()) {
        std::vector<pollfd> sources = {{running.child->descriptor(), POLLIN, 0}};
        for (const auto& pipe : running.pipes)
            sources.push_back({pipe->readingEnd(), POLLIN, 0});
        if (!pollUntil(sources, deadline) || deadline.hasPassed()) return;
        for (std::size_t i = 0; i < running.pipes.size(); ++i)
            if (sources[i + 1].revents != 0) running.pipes[i]->discard();
    }
}

void ChildWatcher::notify(const std::shared_ptr<ChildProcess>& child, const std::function<void()>& exited) {
    auto* notifier = new QSocketNotifier(child->descriptor(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, notifier, [notifier, child, exited] {
        if (!child->hasExited()) return;
        notifier->setEnabled(false);
        notifier->deleteLater();
        exited();
    });
}

void ChildWatcher::onMainThread(const std::function<void()>& block) {
    if (QThread::currentThread() == thread()) return block();
    QMetaObject::invokeMethod(this, block, Qt::QueuedConnection);
}

}  // namespace orvane
