#include "posix/TerminalMode.h"

#include <atomic>

#include <unistd.h>

namespace orvane {

namespace {

termios remembered;
std::atomic<int> terminal{-1};  // Set after, and reset before, `remembered` changes.

}  // namespace

void rememberTerminalMode(int descriptor, const termios& mode) {
    forgetTerminalMode();
    remembered = mode;
    terminal = descriptor;
}

void forgetTerminalMode() {
    terminal = -1;
}

void restoreTerminalMode() {
    const int descriptor = terminal;
    if (descriptor >= 0 && ::tcgetpgrp(descriptor) == ::getpgrp())
        ::tcsetattr(descriptor, TCSANOW, &remembered);
}

}  // namespace orvane
