// Keeps every signal from the calling thread while it makes a thread or a child, which begins with the same
// mask: our handlers are for the main thread of this program alone.
#pragma once

#include <cerrno>
#include <csignal>

namespace orvane {

/// From its making to its end, in one thread. What arrives meanwhile is handled after that. `errno` stays.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() {
        const int error = errno;
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_;
};

}  // namespace orvane
