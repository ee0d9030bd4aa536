// Diagnostic lines for the system's log.
#pragma once

#include <functional>
#include <string_view>

namespace orvane {

/// Writes one line; `line` is text, never a format, and has no line feed at its end. Any thread.
using SystemLog = std::function<void(std::string_view line)>;

}  // namespace orvane
