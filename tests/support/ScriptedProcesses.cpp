#include "support/ScriptedProcesses.h"

namespace orvane::test {

void ScriptedPipe::write(std::string_view bytes) {
    if (handler_) {
        handler_(bytes);
    } else {
        unread += bytes;
    }
}

void ScriptedTask::setStandardOutput(const std::shared_ptr<Pipe>& pipe) {
    standardOutput = std::static_pointer_cast<ScriptedPipe>(pipe);
}

void ScriptedTask::setStandardError(const std::shared_ptr<Pipe>& pipe) {
    standardError = std::static_pointer_cast<ScriptedPipe>(pipe);
}

std::optional<std::string> ScriptedTask::launch() {
    if (journal) journal->push_back("launch " + executable);
    if (launchError) return launchError;
    launched = running = true;
    if (onLaunch) onLaunch(*this);
    return std::nullopt;
}

bool ScriptedTask::isRunning() const {
    return runningNow ? runningNow(*this) : running;
}

void ScriptedTask::terminate() {
    if (journal) journal->push_back("terminate");
    ++terminations;
    if (onTerminate) onTerminate();
    if (obeysTermination && running) exit(15);
}

void ScriptedTask::kill() {
    if (journal) journal->push_back("kill");
    ++kills;
    if (running) exit(9);
}

bool ScriptedTask::waitUntilExit(Duration limit) {
    if (journal) journal->push_back("wait " + std::to_string(static_cast<int>(limit.count())));
    ++waits;
    return !isRunning();
}

void ScriptedTask::exit(std::int32_t exitStatus) {
    running = false;
    runningNow = {};
    status = exitStatus;
    if (const auto handler = std::exchange(terminationHandler, {})) handler();
}

std::shared_ptr<Pipe> ScriptedProcesses::makePipe() {
    pipes.push_back(std::make_shared<ScriptedPipe>());
    return pipes.back();
}

std::shared_ptr<Task> ScriptedProcesses::makeTask() {
    auto task = std::make_shared<ScriptedTask>();
    task->onLaunch = onLaunch;
    task->launchError = launchError;
    task->journal = &journal;
    tasks.push_back(task);
    return task;
}

}  // namespace orvane::test
