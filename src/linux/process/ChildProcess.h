// One child process, started with fork and exec and known by a pidfd (pidfd_open(2)): it is waited for and
// signalled through the descriptor, so that a later process with the same number is never meant. Only this
// child is ever waited for. Any thread.
//
// A child is killed by the kernel when the thread that forked it ends (PR_SET_PDEATHSIG, prctl(2)): no child
// outlives a killed Orvane. So one thread forks for all, and lasts as long as the program.
#pragma once

#include "posix/Descriptor.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// What becomes the child's standard output and error: descriptors above 2, or -1 for this program's own.
struct ChildStreams {
    int output = -1;
    int error = -1;
};

class ChildProcess {
  public:
    struct Started;

    /// Starts the file at `path` with `arguments`, this program's environment and working directory, nothing
    /// to read at its standard input, default signal dispositions, an empty signal mask, no descriptor above
    /// 2, and in a process group of its own. Returns when the child runs the file or could not.
    static Started start(const std::string& path, const std::vector<std::string>& arguments,
                         const ChildStreams& streams);

    /// The pidfd: readable once the child has exited. Open as long as this object lives.
    int descriptor() const { return pidfd_.get(); }
    /// Reaps the child when it has exited.
    bool hasExited();
    /// The exit status or the number of the signal that ended it; nothing while it runs.
    std::optional<std::int32_t> status();
    /// Nothing happens when the child has exited.
    void signal(int number);

  private:
    explicit ChildProcess(Descriptor pidfd) : pidfd_(std::move(pidfd)) {}

    Descriptor pidfd_;
    std::mutex mutex_;
    std::optional<std::int32_t> status_;
};

/// The child, or the number of the error that prevented it.
struct ChildProcess::Started {
    std::shared_ptr<ChildProcess> child;
    int error = 0;
};

}  // namespace orvane
