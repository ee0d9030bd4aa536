#include "macos/system/MacTask.h"

#include "macos/system/ChildGuard.h"
#include "macos/system/MacPipe.h"
#include "macos/system/Text.h"

#include <signal.h>

#include <mutex>
#include <utility>

namespace orvane {

/// Who hears of the child's end. Shared with the block that NSTask calls on a thread of its own, so that a
/// handler that has been removed is not called any more, however close the two were.
class MacTask::Ending {
   public:
    void setHandler(TerminationHandler handler) {
        const std::lock_guard lock(mutex_);
        handler_ = std::move(handler);
    }
    void tell() {
        TerminationHandler handler;
        {
            const std::lock_guard lock(mutex_);
            handler = std::exchange(handler_, nullptr);
        }
        if (handler) handler();
    }

   private:
    std::mutex mutex_;
    TerminationHandler handler_;
};

MacTask::MacTask(std::shared_ptr<ChildGuard> guard)
    : guard_(std::move(guard)), ending_(std::make_shared<Ending>()) {}

void MacTask::setExecutable(const std::string& path) {
    task_.executableURL = [NSURL fileURLWithPath:toNSString(path)];
}

void MacTask::setArguments(const std::vector<std::string>& arguments) {
    NSMutableArray<NSString*>* texts = [NSMutableArray array];
    for (const std::string& argument : arguments) [texts addObject:toNSString(argument)];
    task_.arguments = texts;
}

void MacTask::setStandardOutput(const std::shared_ptr<Pipe>& pipe) {
    output_ = pipe;
    task_.standardOutput = static_cast<const MacPipe&>(*pipe).native();
}

void MacTask::setStandardError(const std::shared_ptr<Pipe>& pipe) {
    error_ = pipe;
    task_.standardError = static_cast<const MacPipe&>(*pipe).native();
}

void MacTask::setTerminationHandler(TerminationHandler handler) { ending_->setHandler(std::move(handler)); }

std::optional<std::string> MacTask::launch() {
    followUntilExit();
    if (const auto failure = tryLaunch()) {
        task_.terminationHandler = nil;
        return failure;
    }
    guard_->watch(task_.processIdentifier);
    if (!task_.running) guard_->forget(task_.processIdentifier);  // In case its end was told before.
    return std::nullopt;
}

/// Until the child has exited and has been reaped, its NSTask holds itself by this block.
void MacTask::followUntilExit() {
    NSTask* task = task_;
    const auto guard = guard_;
    const auto ending = ending_;
    task_.terminationHandler = ^(NSTask*) {
      guard->forget(task.processIdentifier);
      task.terminationHandler = nil;
      ending->tell();
    };
}

std::optional<std::string> MacTask::tryLaunch() {
    @try {
        NSError* error = nil;
        if ([task_ launchAndReturnError:&error]) return std::nullopt;
        return toString(error.localizedDescription);
    } @catch (NSException* exception) {
        return toString(exception.reason);
    }
}

void MacTask::terminate() {
    if (task_.running) [task_ terminate];
}

void MacTask::kill() {
    if (task_.running) ::kill(task_.processIdentifier, SIGKILL);
}

bool MacTask::waitUntilExit(Duration limit) {
    NSDate* deadline = [NSDate dateWithTimeIntervalSinceNow:limit.count()];
    // NSTask's own wait has no bound; it polls the run loop like this.
    while (task_.running && deadline.timeIntervalSinceNow > 0) {
        NSDate* next = [NSDate dateWithTimeIntervalSinceNow:0.02];
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:next];
    }
    return !task_.running;
}

std::int32_t MacTask::terminationStatus() const { return task_.running ? 0 : task_.terminationStatus; }

MacProcesses::MacProcesses()
    : guard_(std::make_shared<ChildGuard>(toString(NSBundle.mainBundle.executablePath))) {}

std::shared_ptr<Pipe> MacProcesses::makePipe() { return std::make_shared<MacPipe>(); }

std::shared_ptr<Task> MacProcesses::makeTask() { return std::make_shared<MacTask>(guard_); }

}  // namespace orvane
