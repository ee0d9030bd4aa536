// One child process, as NSTask runs it.
#pragma once

#include "platform/Task.h"

#import <Foundation/Foundation.h>

#include <memory>

namespace orvane {

class ChildGuard;

class MacTask : public Task {
   public:
    explicit MacTask(std::shared_ptr<ChildGuard> guard);

    void setExecutable(const std::string& path) override;
    void setArguments(const std::vector<std::string>& arguments) override;
    void setStandardOutput(const std::shared_ptr<Pipe>& pipe) override;
    void setStandardError(const std::shared_ptr<Pipe>& pipe) override;
    void setTerminationHandler(TerminationHandler handler) override;

    std::optional<std::string> launch() override;
    bool isRunning() const override { return task_.running; }
    void terminate() override;
    void kill() override;
    /// The run loop goes on meanwhile: blocks of the main queue and timers may run before this returns.
    bool waitUntilExit(Duration limit) override;
    std::int32_t terminationStatus() const override;

   private:
    class Ending;

    void followUntilExit();
    std::optional<std::string> tryLaunch();

    NSTask* task_ = [[NSTask alloc] init];
    std::shared_ptr<ChildGuard> guard_;
    std::shared_ptr<Ending> ending_;
    std::shared_ptr<Pipe> output_;
    std::shared_ptr<Pipe> error_;
};

class MacProcesses : public Processes {
   public:
    MacProcesses();
    std::shared_ptr<Pipe> makePipe() override;
    std::shared_ptr<Task> makeTask() override;

   private:
    std::shared_ptr<ChildGuard> guard_;  ///< Children that still run share it.
};

}  // namespace orvane
