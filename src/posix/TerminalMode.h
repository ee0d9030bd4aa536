// The terminal's mode from before this program changed it, kept where a signal handler finds it: a program
// that dies must not leave its user a shell without echo.
#pragma once

#include <termios.h>

namespace orvane {

/// Keeps what `restoreTerminalMode` puts back. One terminal in a program; its descriptor stays open until
/// `forgetTerminalMode`.
void rememberTerminalMode(int descriptor, const termios& mode);
void forgetTerminalMode();
/// Does nothing when there is nothing to restore, or when the terminal is another job's now. May be called by
/// a signal handler.
void restoreTerminalMode();

}  // namespace orvane
