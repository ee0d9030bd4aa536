// Child processes on Linux. Made on the main thread, where the event loop runs that reads their output and
// notices their exits.
#pragma once

#include "linux/process/PosixTask.h"

#include <chrono>
#include <memory>

namespace orvane {

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
