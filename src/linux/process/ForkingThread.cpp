#include "linux/process/ForkingThread.h"

#include "posix/NewThread.h"
#include "posix/SignalsBlocked.h"

#include <cerrno>

#include <pthread.h>
#include <unistd.h>

namespace orvane {

namespace {

/// The child borrows this thread and the whole memory until it is another program, so that nothing is copied
/// for it. With signals blocked none of our handlers runs in it meanwhile.
pid_t forkHere(const std::function<void()>& inChild) {
    const SignalsBlocked blocked;
    const pid_t child = ::vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork): see above.
    if (child == 0) inChild();      // NOLINT(clang-analyzer-unix.Vfork)
    return child;
}

}  // namespace

ForkingThread& ForkingThread::ofProgram() {
    static auto& forking = *new ForkingThread;
    return forking;
}

pid_t ForkingThread::fork(const std::function<void()>& inChild) {
    const std::lock_guard turn(oneAtATime_);
    if (!isServing()) return forkHere(inChild);
    std::unique_lock lock(mutex_);
    inChild_ = &inChild;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !inChild_; });
    errno = error_;
    return child_;
}

bool ForkingThread::isServing() {
    if (!hasThread_) hasThread_ = startDetachedThread([this] { serve(); });
    return hasThread_;
}

void ForkingThread::serve() {
    ::pthread_setname_np(::pthread_self(), "orvane.fork");
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return inChild_; });
        child_ = forkHere(*inChild_);
        error_ = errno;
        inChild_ = nullptr;
        changed_.notify_all();
    }
}

}  // namespace orvane
