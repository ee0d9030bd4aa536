#include "linux/process/ChildWatcher.h"

#include <QSocketNotifier>
#include <QThread>
#include <algorithm>
#include <csignal>

#include <poll.h>

namespace orvane {

namespace {

using Clock = std::chrono::steady_clock;

void waitForExit(ChildProcess& child, Clock::time_point deadline) {
    while (!child.hasExited()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return;
        pollfd source = {child.descriptor(), POLLIN, 0};
        ::poll(&source, 1, static_cast<int>(left.count()));
    }
}

}  // namespace

void ChildWatcher::watch(const std::shared_ptr<ChildProcess>& child, const std::function<void()>& exited) {
    onMainThread([this, child, exited] {
        std::erase_if(watched_, [](const auto& known) { return known.expired(); });
        watched_.push_back(child);
        notify(child, exited);
    });
}

void ChildWatcher::reapLater(const std::shared_ptr<ChildProcess>& child) {
    onMainThread([this, child] { notify(child, [] {}); });
}

void ChildWatcher::endWatched(std::chrono::milliseconds grace) {
    const auto deadline = Clock::now() + grace;
    std::vector<std::shared_ptr<ChildProcess>> running;
    for (const auto& known : watched_)
        if (auto child = known.lock(); child && !child->hasExited()) running.push_back(std::move(child));
    for (const auto& child : running)
        child->signal(SIGTERM);
    for (const auto& child : running)
        waitForExit(*child, deadline);
    for (const auto& child : running)
        child->signal(SIGKILL);
    for (const auto& child : running)
        waitForExit(*child, Clock::now() + grace);
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
