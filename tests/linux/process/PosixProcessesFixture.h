// Children of all kinds, and what they say.
#pragma once

#include "linux/EventLoop.h"
#include "linux/process/PosixProcesses.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace orvane::test {

inline constexpr Duration maxWait{10};

/// A shell script as the server would be: both streams in one pipe, followed on the main loop.
struct Child {
    PosixProcesses& processes;
    std::shared_ptr<Pipe> pipe = processes.makePipe();
    std::shared_ptr<Task> task = processes.makeTask();
    std::string output;
    std::size_t bytes = 0;
    std::size_t largestChunk = 0;
    int exits = 0;

    explicit Child(PosixProcesses& owner, const std::string& script) : processes(owner) {
        task->setExecutable("/bin/sh");
        task->setArguments({"-c", script});
        task->setStandardOutput(pipe);
        task->setStandardError(pipe);
        pipe->setReadabilityHandler([this](std::string_view chunk) {
            bytes += chunk.size();
            largestChunk = std::max(largestChunk, chunk.size());
            if (output.size() < 100'000) output += chunk;
        });
        task->setTerminationHandler([this] { ++exits; });
    }
    ~Child() { pipe->setReadabilityHandler({}); }  // It would go on being read.
    bool launch() { return !task->launch(); }
    bool runToExit() {
        return launch() && runUntil([this] { return exits > 0; });
    }
    bool waitForOutput(const std::string& text) {
        return runUntil([&] { return output.find(text) != std::string::npos; });
    }
};

class PosixProcessesTest : public testing::Test {
  protected:
    PosixProcesses processes;

    std::string launchError(const std::string& path) {
        const auto task = processes.makeTask();
        task->setExecutable(path);
        return task->launch().value_or("launched");
    }
    std::string outputOf(const std::string& script) {
        Child child(processes, script);
        return child.runToExit() ? child.output : "no exit";
    }
};

}  // namespace orvane::test
