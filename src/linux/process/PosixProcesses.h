// Child processes by POSIX calls, and a few of Linux's own. Made on the main thread, where the event loop
// runs that reads their output and notices their exits; of Qt they use that loop, and nothing else.
#pragma once

#include "linux/process/ChildProcess.h"
#include "linux/process/ChildWatcher.h"
#include "linux/process/PosixPipe.h"
#include "platform/Task.h"
#include "posix/Deadline.h"

#include <chrono>
#include <memory>

namespace orvane {

/// One child process with its pipes: see `ChildProcess` for what the child gets, and `PosixPipe` for how its
/// output is read.
///
/// A task with a termination handler, or whose output has a readability handler, belongs to the main thread:
/// both handlers are called there. Other tasks may be used on any thread, one at a time.
class PosixTask : public Task, public std::enable_shared_from_this<PosixTask> {
  public:
    explicit PosixTask(std::weak_ptr<ChildWatcher> watcher) : watcher_(std::move(watcher)) {}
    ~PosixTask() override;

    void setExecutable(const std::string& path) override { path_ = path; }
    void setArguments(const std::vector<std::string>& arguments) override { arguments_ = arguments; }
    void setStandardOutput(const std::shared_ptr<Pipe>& pipe) override;
    void setStandardError(const std::shared_ptr<Pipe>& pipe) override;
    /// The handler is called after all that the child has written was delivered, and never when the task has
    /// been destroyed before. Set it before the launch; replace or remove it at any time.
    void setTerminationHandler(TerminationHandler handler) override { handler_ = std::move(handler); }

    std::optional<std::string> launch() override;
    bool isRunning() const override { return child_ && !child_->hasExited(); }
    void terminate() override;
    void kill() override;
    /// What the child prints meanwhile is delivered.
    bool waitUntilExit(Duration limit) override;
    std::int32_t terminationStatus() const override;

  private:
    void watch();
    bool waitForExit(Deadline deadline);
    void exited();
    void deliverPending();

    std::weak_ptr<ChildWatcher> watcher_;
    std::string path_;
    std::vector<std::string> arguments_;
    std::shared_ptr<PosixPipe> output_;
    std::shared_ptr<PosixPipe> error_;
    TerminationHandler handler_;
    std::shared_ptr<ChildProcess> child_;
    bool isWatched_ = false;
};

class PosixProcesses : public Processes {
  public:
    PosixProcesses();

    /// Any thread.
    std::shared_ptr<Pipe> makePipe() override;
    /// Any thread.
    std::shared_ptr<Task> makeTask() override;

    /// For the end of the program: has the children that belong to the main thread (those with a handler, the
    /// server) end within `grace`, politely first; what they print meanwhile is dropped. Captured commands
    /// are not waited for; they end with this program.
    void endFollowed(std::chrono::milliseconds grace);

  private:
    std::shared_ptr<ChildWatcher> watcher_;
};

}  // namespace orvane
