// Child processes that a test plays: what they print, when they end, whether they start at all.
#pragma once

#include "platform/RunLoop.h"
#include "platform/Task.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::test {

class ScriptedPipe : public Pipe {
  public:
    void setReadabilityHandler(ReadabilityHandler handler) override { handler_ = std::move(handler); }
    std::string readAvailable() override { return std::exchange(unread, {}); }
    std::string readDataToEndOfFile() override { return std::exchange(unread, {}); }

    /// What a child does: one write, which arrives as one read.
    void write(std::string_view bytes);

    std::string unread;

  private:
    ReadabilityHandler handler_;
};

class ScriptedTask : public Task {
  public:
    void setExecutable(const std::string& path) override { executable = path; }
    void setArguments(const std::vector<std::string>& values) override { arguments = values; }
    void setStandardOutput(const std::shared_ptr<Pipe>& pipe) override;
    void setStandardError(const std::shared_ptr<Pipe>& pipe) override;
    void setTerminationHandler(TerminationHandler handler) override {
        terminationHandler = std::move(handler);
    }
    std::optional<std::string> launch() override;
    bool isRunning() const override;
    void terminate() override;
    void kill() override;
    /// Takes no time: a child that still runs is not waited for.
    bool waitUntilExit(Duration limit) override;
    std::int32_t terminationStatus() const override { return status; }

    /// The child ends by itself: the handler, if still set, is called.
    void exit(std::int32_t exitStatus);
    /// What the child prints on standard output.
    void print(std::string_view bytes) const { standardOutput->write(bytes); }

    std::string executable;
    std::vector<std::string> arguments;
    std::shared_ptr<ScriptedPipe> standardOutput;
    std::shared_ptr<ScriptedPipe> standardError;
    TerminationHandler terminationHandler;
    bool launched = false;
    bool running = false;
    std::int32_t status = 0;
    int terminations = 0;
    int kills = 0;
    int waits = 0;
    bool obeysTermination = true;  ///< Ends when asked to.
    std::function<void(ScriptedTask&)> onLaunch;
    std::function<void()> onTerminate;
    std::function<bool(const ScriptedTask&)> runningNow;  ///< Asked by `isRunning` when set.
    std::optional<std::string> launchError;
    std::vector<std::string>* journal = nullptr;
};

class ScriptedProcesses : public Processes {
  public:
    std::shared_ptr<Pipe> makePipe() override;
    std::shared_ptr<Task> makeTask() override;

    /// The task made last.
    ScriptedTask& latest() const { return *tasks.back(); }

    std::vector<std::shared_ptr<ScriptedTask>> tasks;
    std::vector<std::shared_ptr<ScriptedPipe>> pipes;
    std::function<void(ScriptedTask&)> onLaunch;  ///< Given to every new task.
    std::optional<std::string> launchError;       ///< Given to every new task.
    std::vector<std::string> journal;             ///< What was done to the children, in order.
};

}  // namespace orvane::test
