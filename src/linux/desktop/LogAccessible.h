// The log window for screen readers: its text without the pieces that long lines are laid out in.
#pragma once

namespace orvane {

/// Has every `QtLogWindow` of the program read so. Once.
void makeLogWindowsReadable();

}  // namespace orvane
