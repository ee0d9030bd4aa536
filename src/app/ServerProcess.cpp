#include "app/ServerProcess.h"

#include "platform/Bundle.h"
#include "platform/RunLoop.h"
#include "platform/Task.h"
#include "text/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace orvane {

namespace {

constexpr Duration stableRunTime{30};
constexpr std::int64_t maxRestartDelay = 10;  // seconds
/// How long the main thread, and with it the menu, stands still for a server that was asked to end; and then
/// for one that was killed.
constexpr Duration maxEndingTime{5};
constexpr Duration maxDyingTime{1};

std::string serverPath(const std::string& executable) {
    const auto slash = executable.rfind('/');
    if (slash == std::string::npos) {
        std::fputs("orvane: cannot tell where the program lies\n", stderr);
        std::abort();
    }
    return executable.substr(0, slash) + "/orvaned";
}

}  // namespace

ServerProcess::ServerProcess(RunLoop& runLoop, Processes& processes, const Bundle& bundle, Listener& listener)
    : runLoop_(runLoop), processes_(processes), bundle_(bundle), listener_(listener) {}

ServerProcess::~ServerProcess() = default;

void ServerProcess::start() {
    const auto task = makeTask();
    if (const auto error = task->launch()) return listener_.serverNotLaunched(*error);
    task_ = task;
    listener_.serverLaunched();
    runLoop_.asyncAfter(stableRunTime, [weak = weak_from_this(), weakTask = std::weak_ptr(task)] {
        const auto self = weak.lock();
        if (self && self->task_ == weakTask.lock()) self->restarts_ = 0;
    });
}

/// Both handlers are called on any thread, so they only pass on to the main queue what they were given.
std::shared_ptr<Task> ServerProcess::makeTask() {
    const auto pipe = processes_.makePipe();
    pipe->setReadabilityHandler([weak = weak_from_this(), &runLoop = runLoop_](std::string_view bytes) {
        if (!isValidUtf8(bytes)) return;
        runLoop.async([weak, text = std::string(bytes)] {
            if (const auto self = weak.lock()) self->listener_.serverPrinted(text);
        });
    });

    auto task = processes_.makeTask();
    task->setExecutable(serverPath(bundle_.executablePath));
    task->setStandardOutput(pipe);
    task->setStandardError(pipe);
    task->setTerminationHandler(
        [weak = weak_from_this(), weakTask = std::weak_ptr(task), &runLoop = runLoop_] {
            runLoop.async([weak, weakTask] {
                const auto self = weak.lock();
                const auto exited = weakTask.lock();
                // A server that has been replaced in the meantime is nobody's business any more.
                if (self && exited && self->task_ == exited) self->taskExited();
            });
        });
    return task;
}

void ServerProcess::taskExited() {
    if (quitting_) return;
    ++restarts_;
    const auto delay = std::min(restarts_, maxRestartDelay);
    listener_.serverExited(task_->terminationStatus(), delay);
    restartIsPending_ = true;
    runLoop_.asyncAfter(Duration(delay), [weak = weak_from_this(), exited = std::weak_ptr(task_)] {
        // The user may have been quicker: two servers would fight over the port.
        const auto self = weak.lock();
        if (!self || self->quitting_ || !self->restartIsPending_ || self->task_ != exited.lock()) return;
        self->start();
    });
}

void ServerProcess::retire() {
    restarts_ = 0;
    restartIsPending_ = false;
    if (!task_) return;
    task_->setTerminationHandler({});
    task_->terminate();
    if (task_->waitUntilExit(maxEndingTime)) return;
    task_->kill();
    task_->waitUntilExit(maxDyingTime);
}

void ServerProcess::quit() {
    quitting_ = true;
    if (!task_) return;
    task_->setTerminationHandler({});
    task_->terminate();
}

}  // namespace orvane
