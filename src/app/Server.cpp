// The server process: launched, listened to, started again with a growing delay when it exits, and its log
// shown.
#include "app/AppDelegate.h"
#include "platform/Bundle.h"
#include "platform/RunLoop.h"
#include "text/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace orvane {

namespace {

constexpr Duration stableRunTime{30};
constexpr std::int64_t maxRestartDelay = 10;  // seconds

std::string serverPath(const Bundle& bundle) {
    const std::string executable = bundle.executablePath();
    const auto slash = executable.rfind('/');
    if (slash == std::string::npos) {
        std::fputs("orvane: cannot tell where the program lies\n", stderr);
        std::abort();
    }
    return executable.substr(0, slash) + "/orvaned";
}

}  // namespace

void AppDelegate::startServer() {
    const auto pipe = platform_.processes.makePipe();
    pipe->setReadabilityHandler(
        [weak = weak_from_this(), &runLoop = platform_.runLoop](std::string_view bytes) {
            if (!isValidUtf8(bytes)) return;
            runLoop.async([weak, text = std::string(bytes)] {
                if (const auto self = weak.lock()) self->ingest(text);
            });
        });

    const auto task = platform_.processes.makeTask();
    task->setExecutable(serverPath(platform_.bundle));
    task->setStandardOutput(pipe);
    task->setStandardError(pipe);
    task->setTerminationHandler(
        [weak = weak_from_this(), weakTask = std::weak_ptr(task), &runLoop = platform_.runLoop] {
            runLoop.async([weak, weakTask] {
                const auto self = weak.lock();
                const auto exited = weakTask.lock();
                // A server that has been replaced in the meantime is nobody's business any more.
                if (self && exited && self->task_ == exited) self->serverExited(exited->terminationStatus());
            });
        });

    if (const auto error = task->launch()) {
        ingest("Failed to launch orvaned: " + *error + "\n");
        setStatus("⚠ Could not start server", false);
        return;
    }
    task_ = task;
    setStatus("○ Waiting for phone…", false);
    platform_.runLoop.asyncAfter(stableRunTime, [weak = weak_from_this(), weakTask = std::weak_ptr(task)] {
        const auto self = weak.lock();
        if (self && self->task_ == weakTask.lock()) self->restarts_ = 0;
    });
}

void AppDelegate::serverExited(std::int32_t status) {
    if (quitting_) return;
    ++restarts_;
    const auto delay = std::min(restarts_, maxRestartDelay);
    setStatus("⚠ Server stopped — restarting…", false);
    ingest("\n— orvaned exited (status " + std::to_string(status) + "); restarting in " +
           std::to_string(delay) + "s —\n");
    platform_.runLoop.asyncAfter(Duration(delay), [weak = weak_from_this(), exited = std::weak_ptr(task_)] {
        // The user may have been quicker: two servers would fight over the port.
        const auto self = weak.lock();
        if (self && !self->quitting_ && self->task_ == exited.lock()) self->startServer();
    });
}

void AppDelegate::restart() {
    restarts_ = 0;
    if (task_) {
        task_->setTerminationHandler({});
        task_->terminate();
        task_->waitUntilExit();
    }
    ingest("\n— restarting server —\n");
    startServer();
}

void AppDelegate::showLog() {
    if (!logWindow_) {
        logWindow_ = platform_.logWindows.make({720, 420, "Orvane Server Log", 11});
    }
    logWindow_->update(log_);
    platform_.application.activateIgnoringOtherApps();
    logWindow_->makeKeyAndOrderFront();
}

}  // namespace orvane
