// An adb that a test plays: what each command line prints and how long it takes, and which were run.
#pragma once

#include "support/TestPlatform.h"
#include "usb/AdbBridge.h"

#include <map>
#include <string>
#include <vector>

namespace orvane::test {

/// What the tunnel uses of the system.
inline AdbBridge::Roles adbRoles(TestPlatform& system, Threads& threads) {
    return {system.runLoop, system.runLoop, threads, system.processes, system.fileManager, system.bundle};
}
inline AdbBridge::Roles adbRoles(TestPlatform& system) {
    return adbRoles(system, system.threads);
}

class ScriptedAdb {
  public:
    struct Answer {
        std::string output = {};
        double seconds = 0;  ///< Virtual time that the command takes.
        std::int32_t status = 0;
        bool starts = true;
    };

    static constexpr auto path = "/opt/homebrew/bin/adb";

    /// Installs itself at `path`; the system it plays in outlives it.
    explicit ScriptedAdb(TestPlatform& system) : system_(system) {
        system.fileManager.executables.insert(path);
        system.processes.onLaunch = [this](ScriptedTask& task) { play(task); };
    }

    /// By command line, the arguments joined by blanks. Any other command prints nothing.
    std::map<std::string, Answer> answers;
    /// Every command line run, in order.
    std::vector<std::string> commands;

  private:
    void play(ScriptedTask& task) {
        std::string line;
        for (const auto& argument : task.arguments) {
            line += (line.empty() ? "" : " ") + argument;
        }
        commands.push_back(line);

        const Answer& answer = answers[line];
        task.print(answer.output);
        if (!answer.starts) task.launchError = "no such file";
        if (answer.seconds == 0) return task.exit(answer.status);
        const TimePoint end = system_.runLoop.now() + Duration(answer.seconds);
        task.runningNow = [this, end](const ScriptedTask&) { return system_.runLoop.now() < end; };
    }

    TestPlatform& system_;
};

}  // namespace orvane::test
