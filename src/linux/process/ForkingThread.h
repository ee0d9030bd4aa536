// One thread that forks for all others. What the kernel does to a child when its parent dies, it does when
// the thread dies that forked it; and threads of this program come and go.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

#include <sys/types.h>

namespace orvane {

/// Any thread.
class ForkingThread {
  public:
    /// That of this program: begins with the first fork, and never ends.
    static ForkingThread& ofProgram();

    /// vfork(2) with every signal blocked, in the child as well; `inChild` runs there and never returns. It
    /// does only what may be done between fork and exec, and changes nothing but variables of its own: the
    /// memory is this program's. The child's number, once it is another program or has ended, or -1 with
    /// `errno`. Where the system has no thread to spare, the calling one forks.
    pid_t fork(const std::function<void()>& inChild);

  private:
    ForkingThread() = default;
    bool isServing();
    void serve();

    std::mutex oneAtATime_;
    std::mutex mutex_;
    std::condition_variable changed_;
    const std::function<void()>* inChild_ = nullptr;  ///< While a child is asked for.
    pid_t child_ = -1;
    int error_ = 0;
    bool hasThread_ = false;
};

}  // namespace orvane
