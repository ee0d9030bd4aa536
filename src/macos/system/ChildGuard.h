// Ends the children of a program that was killed before it could end them itself: macOS has no way to tie a
// child's life to its parent's. A helper process holds the reading end of a pipe whose only writing end is
// this program's, so that the end of the stream is this program's end, whatever its cause. The helper is this
// program's own executable, started with `argument`.
#pragma once

#include "posix/Descriptor.h"

#include <string>

#include <sys/types.h>

namespace orvane {

class ChildGuard {
  public:
    static constexpr const char* argument = "--guard-children";

    /// Starts the helper. Without it (`executable` cannot be started) children are not guarded. A write to a
    /// helper that has died must not end this program: SIGPIPE is caught or ignored by whoever makes this.
    explicit ChildGuard(const std::string& executable);

    /// From now on the child dies with this program. Any thread.
    void watch(pid_t child) { tell('+', child); }
    /// The child has been reaped: its number may soon be another process's. Any thread.
    void forget(pid_t child) { tell('-', child); }

  private:
    void tell(char what, pid_t child);

    Descriptor helper_;
};

/// What the helper does: reads from `descriptor` until it ends, then ends the children that are left, within
/// a second or so.
void guardChildren(int descriptor);

}  // namespace orvane
