// A program that a test starts beside itself, and that does not outlive it. ThreadSanitizer does not survive
// how QProcess begins one.
#pragma once

#include "linux/process/ChildProcess.h"
#include "posix/Deadline.h"
#include "posix/Descriptor.h"

#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace orvane::test {

class SpawnedProgram {
  public:
    ~SpawnedProgram() { end(SIGKILL); }

    /// As env(1) does: variables first, then the program's name and its arguments.
    void start(std::vector<std::string> command) {
        int ends[2] = {-1, -1};
        (void)::pipe2(ends, O_CLOEXEC);
        output_.reset(ends[0]);
        const Descriptor writing(ends[1]);
        child_ = ChildProcess::start("/usr/bin/env", std::move(command), {writing.get(), -1}).child;
    }
    /// What it prints first; empty when that does not come within 10 s.
    std::string firstLine() {
        std::string line;
        for (char byte = 0; byte != '\n'; line += byte)
            if (!pollUntil(output_.get(), POLLIN, patience()) || ::read(output_.get(), &byte, 1) != 1)
                return {};
        line.pop_back();
        return line;
    }
    void signal(int number) {
        if (child_) child_->signal(number);
    }
    /// Also one that has been stopped. Nothing happens when it does not run.
    void end(int number) {
        if (!child_) return;
        signal(number);
        signal(SIGCONT);
        pollUntil(child_->descriptor(), POLLIN, patience());
        child_->hasExited();
        child_.reset();
    }
    /// The state that proc(5) tells of, "S" for one that sleeps; empty when it does not run.
    std::string state() const {
        std::ifstream ofDescriptor("/proc/self/fdinfo/" + std::to_string(child_ ? child_->descriptor() : -1));
        std::string word;
        while (ofDescriptor >> word && word != "Pid:") {
        }
        ofDescriptor >> word;
        std::ifstream status("/proc/" + word + "/status");
        while (status >> word && word != "State:") {
        }
        return status >> word ? word : "";
    }

  private:
    static Deadline patience() { return Deadline::after(std::chrono::seconds(10)); }

    Descriptor output_;
    std::shared_ptr<ChildProcess> child_;
};

}  // namespace orvane::test
